#pragma once

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <thread>

#include "tests/support/ScriptedDriver.h"

namespace halvarin::test {

/// Another process that uses the driver of a folder, again and again until the object's end.
class CursorRival {
 public:
  /// `turn` is called in that process with the number of the turn, from 0; after each the process
  /// pauses.
  /// Returns once it has taken its first turn.
  CursorRival(const std::filesystem::path& folder, std::chrono::microseconds pause,
              const std::function<void(ScriptedDriver& driver, std::uint32_t turn)>& turn) {
    std::array<int, 2> started{};
    EXPECT_EQ(pipe(started.data()), 0);
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      ScriptedDriver driver(folder);
      turn(driver, 0);
      close(started[1]);
      close(started[0]);
      takeTurns(driver, pause, turn);
    }
    close(started[1]);
    char none = 0;
    EXPECT_EQ(read(started[0], &none, 1), 0);
    close(started[0]);
  }
  ~CursorRival() {
    if (process_ > 0) {
      kill(process_, SIGKILL);
      waitpid(process_, nullptr, 0);
    }
  }
  CursorRival(const CursorRival&) = delete;
  CursorRival& operator=(const CursorRival&) = delete;

 private:
  [[noreturn]] static void takeTurns(
      ScriptedDriver& driver, std::chrono::microseconds pause,
      const std::function<void(ScriptedDriver& driver, std::uint32_t turn)>& turn) {
    prctl(PR_SET_TIMERSLACK, 1000);  // pauses of a few microseconds last no longer than that
    for (std::uint32_t i = 1;; ++i) {
      if (pause.count() > 0) {
        std::this_thread::sleep_for(pause);
      }
      turn(driver, i);
    }
  }

  pid_t process_ = -1;
};

}  // namespace halvarin::test
