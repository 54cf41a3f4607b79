#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/ProgramRun.h"

namespace halvarin::test {

/// In characters.
struct TerminalSize {
  unsigned short rows = 24;
  unsigned short columns = 80;
};

/// A program that runs beside the test, with every signal at its default and none blocked, whatever
/// the test runner had. Its waits are limited in real time and return as soon as they can. A
/// program that cannot be started ends at once with 127. What the system refuses otherwise is
/// thrown as std::runtime_error. Any thread.
class RunningProgram {
 public:
  /// Without standard input; in the test's own process group.
  RunningProgram(const std::string& path, const std::vector<std::string>& words);
  /// At a terminal of its own, as a person sees it: standard input, output and error are that
  /// terminal, and all that it shows is `out`, with "\r\n" as line end and with what is typed.
  RunningProgram(const std::string& path, const std::vector<std::string>& words, TerminalSize size);
  /// Kills the program if it still runs. What it started is left alone.
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  /// Also after the end, when the number may be another's.
  [[nodiscard]] pid_t pid() const { return pid_; }

  /// Nothing happens when the program has ended.
  void signal(int number);

  /// Types at the program's terminal: "\x03" is Ctrl-C.
  void type(std::string_view text);

  /// Whether standard output or standard error shows the text within the limit; false sooner when
  /// the program ends without it.
  [[nodiscard]] bool waitForOutput(const std::string& text, std::chrono::milliseconds limit);

  /// The whole run, absent when the program still runs after the limit. What processes write that
  /// the program left behind is not in it.
  [[nodiscard]] std::optional<ProgramRun> waitForEnd(std::chrono::milliseconds limit);

  /// What was written so far; `exit` is -1 while the program runs.
  [[nodiscard]] ProgramRun soFar();

 private:
  struct Ends;

  explicit RunningProgram(const Ends& ends);
  void watch();
  /// Takes what is there now; false when nothing will come any more.
  [[nodiscard]] bool readAll(int descriptor, std::string ProgramRun::*text);

  const int out_;    // of the pipe or terminal
  const int err_;    // of the pipe; -1 with a terminal
  const pid_t pid_;  // 0 when it could not be started
  const int end_;    // becomes readable when the program ends
  std::mutex mutex_;
  std::condition_variable changed_;
  ProgramRun run_;         // guarded by mutex_
  bool hasEnded_ = false;  // guarded by mutex_: reaped, and all it wrote is in run_
  std::thread watcher_;
};

}  // namespace halvarin::test
