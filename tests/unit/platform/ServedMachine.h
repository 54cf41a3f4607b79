#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/machine/remote/ListeningSocket.h"
#include "platform/machine/remote/MachineProtocol.h"
#include "platform/machine/remote/MachineServer.h"
#include "platform/machine/remote/MachineSocket.h"
#include "platform/machine/remote/RemoteMachine.h"
#include "tests/support/SocketFolder.h"
#include "tests/unit/platform/SimulatedMachineBench.h"

// A simulated machine that is served, and bare sockets in the place of a server or a client.

namespace halvarin::test {

/// Far above what anything here takes; only a test that fails waits so long.
inline constexpr std::chrono::seconds kPatience{20};

/// A journal that many threads write.
class SharedJournal {
 public:
  void add(std::string_view line) {
    const std::lock_guard lock(mutex_);
    lines_.emplace_back(line);
    changed_.notify_all();
  }
  [[nodiscard]] std::vector<std::string> lines() {
    const std::lock_guard lock(mutex_);
    return lines_;
  }
  /// Whether it has that many lines within the patience.
  [[nodiscard]] bool waitForLines(std::size_t count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, [&] { return lines_.size() >= count; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
};

/// What a function gave or, with its fault shown, null.
template <typename Pointer>
Pointer unwrapped(std::variant<Pointer, std::string> result) {
  if (const auto* fault = std::get_if<std::string>(&result)) {
    ADD_FAILURE() << *fault;
    return nullptr;
  }
  return std::get<Pointer>(std::move(result));
}

struct ServedMachine {
  explicit ServedMachine(platform::Simulation simulation = {},
                         platform::RecordedMachine recorded = smallMachine()) {
    simulation.clock = std::make_shared<FakeClock>();
    simulation.journal = [this](std::string_view line) { journal.add(line); };
    machine = std::make_shared<platform::SimulatedMachine>(std::move(recorded), simulation);
    server = unwrapped(platform::MachineServer::serve(machine, path));
  }

  [[nodiscard]] std::shared_ptr<platform::RemoteMachine> connect() const {
    return unwrapped(platform::RemoteMachine::connect(path));
  }

  SocketFolder folder;
  std::string path = folder.path();
  SharedJournal journal;
  std::shared_ptr<platform::SimulatedMachine> machine;
  std::unique_ptr<platform::MachineServer> server;
};

/// The answers of a machine whose service went away, which leave everything else as it was.
inline void expectGone(platform::Machine& machine) {
  EXPECT_FALSE(machine.hasService("AppleSMC"));
  std::uint32_t connection = 77;
  EXPECT_EQ(machine.open(0, connection), kNoDevice);
  EXPECT_EQ(connection, 77U);
  const Answer answer = send(machine, 1, request(kRead, "TC0P", 2));
  EXPECT_EQ(answer.status, kNoDevice);
  EXPECT_EQ(answer.size, 80U);
  Wire untouched;
  untouched.fill(kUntouched);
  EXPECT_EQ(answer.wire, untouched);
  EXPECT_EQ(machine.close(1), kNoDevice);
  EXPECT_TRUE(machine.setting("hw.model").isNothing());
  EXPECT_EQ(machine.powerSource(), "");
}

}  // namespace halvarin::test
