#include "host/fans/FanGuard.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "base/NumberText.h"
#include "base/ScopeGuard.h"
#include "host/Exit.h"
#include "platform/HostServices.h"

// Every program has it; not every system's headers say so.
extern "C" char** environ;  // NOLINT(readability-redundant-declaration): those of this one do

namespace halvarin::host {

namespace {

constexpr std::string_view kFanLine = "fan ";
constexpr std::string_view kFlagLine = "flag";
constexpr std::string_view kForgetLine = "forget";

[[noreturn]] void refuse(const std::string& why) {
  throw ExitError(
      Exit::ownFailure,
      "no fan is forced, since the guardian that would hand it back cannot be started: " + why);
}

/// A pipe whose ends no other program inherits.
struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
      refuse(std::strerror(errno));
    }
    readEnd = ends[0];
    writeEnd = ends[1];
    fcntl(readEnd, F_SETFD, FD_CLOEXEC);
    fcntl(writeEnd, F_SETFD, FD_CLOEXEC);
  }
  int readEnd = -1;
  int writeEnd = -1;
};

std::vector<std::string> guardianWords(const Options& options,
                                       const std::vector<std::uint32_t>& fans) {
  std::vector<std::string> words{platform::ownExecutablePath()};
  if (options.machine.kind == MachineOption::Kind::socket) {
    words.push_back("--machine=socket:" + options.machine.path);
  }
  words.emplace_back(kGuardianCommand);
  for (const std::uint32_t fan : fans) {
    words.push_back(std::to_string(fan));
  }
  return words;
}

/// Starts the program's own file with these words, apart from the terminal: what a terminal sends
/// to the program must not end its guardian too.
pid_t spawnApart(std::vector<std::string> words, int standardInput, int standardOutput) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const ScopeGuard endActions([&] { posix_spawn_file_actions_destroy(&actions); });
  posix_spawn_file_actions_adddup2(&actions, standardInput, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, standardOutput, STDOUT_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  const ScopeGuard endAttributes([&] { posix_spawnattr_destroy(&attributes); });
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  pid_t process = 0;
  const int error =
      posix_spawn(&process, arguments[0], &actions, &attributes, arguments.data(), environ);
  return error == 0 ? process : -error;
}

/// Reads one byte, waiting so long; 0 at the end of the pipe, -1 when nothing came.
ssize_t readByte(int descriptor, int milliseconds) {
  pollfd ready{descriptor, POLLIN, 0};
  char byte = 0;
  return poll(&ready, 1, milliseconds) == 1 ? read(descriptor, &byte, 1) : -1;
}

}  // namespace

std::unique_ptr<FanGuard> FanGuard::start(const Options& options,
                                          const std::vector<std::uint32_t>& fans,
                                          const std::function<bool()>& isAsked) {
  if (options.machine.kind == MachineOption::Kind::simulated ||
      options.machine.kind == MachineOption::Kind::file) {
    return nullptr;
  }
  std::signal(SIGPIPE, SIG_IGN);  // a guardian that has died is a failed write, not our end
  std::signal(SIGCHLD, SIG_DFL);  // else its number may be another's when we kill it or wait for it
  const Pipe orders;
  const Pipe answers;
  const pid_t process = spawnApart(guardianWords(options, fans), orders.readEnd, answers.writeEnd);
  close(orders.readEnd);
  close(answers.writeEnd);
  std::unique_ptr<FanGuard> guard(new FanGuard(process, orders.writeEnd, answers.readEnd));
  if (process < 0) {
    refuse(std::strerror(-process));
  }
  guard->waitUntilReady(isAsked);
  if (!guard->isReady_ && !isAsked()) {
    refuse("it did not reach the machine and the keys of the fans in time");
  }
  return guard->isReady_ ? std::move(guard) : nullptr;
}

void FanGuard::waitUntilReady(const std::function<bool()>& isAsked) {
  // It lists the machine's keys, as the program did. Under Linux each key that the controller does
  // not let be read takes a quarter of a second, and there may be 80 of them.
  constexpr int kMostLooks = 1200;
  constexpr int kLookMilliseconds = 50;  // people take an end that comes so soon for one at once
  ssize_t bytes = -1;
  for (int i = 0; i < kMostLooks && bytes < 0 && !isAsked(); ++i) {
    bytes = readByte(fromGuardian_, kLookMilliseconds);
  }
  isReady_ = bytes == 1;
}

FanGuard::~FanGuard() {
  constexpr int kMostMilliseconds = 2500;  // a little more than it may take to hand back
  close(toGuardian_);
  if (process_ > 0 && !isReady_) {
    kill(process_, SIGKILL);  // nothing was forced yet, and it would go on listing keys
  }
  const bool hasEnded = process_ > 0 && readByte(fromGuardian_, kMostMilliseconds) == 0;
  if (hasEnded) {
    waitpid(process_, nullptr, 0);
  }
  close(fromGuardian_);
}

bool FanGuard::hasEnded() const {
  return readByte(fromGuardian_, 0) == 0;
}

bool FanGuard::fanIsForced(std::uint32_t fan) {
  return tell(std::string(kFanLine) + std::to_string(fan));
}

bool FanGuard::testFlagIsOn() {
  return tell(std::string(kFlagLine));
}

void FanGuard::forget() {
  static_cast<void>(tell(std::string(kForgetLine)));
}

bool FanGuard::tell(const std::string& line) const {
  const std::string ended = line + "\n";
  // Far below what a pipe takes at once, so it arrives whole or not at all.
  return write(toGuardian_, ended.data(), ended.size()) == static_cast<ssize_t>(ended.size());
}

void GuardedFans::take(const std::string& line) {
  if (line == kForgetLine) {
    *this = {};
  } else if (line == kFlagLine) {
    testFlag = true;
  } else if (line.rfind(kFanLine, 0) == 0) {
    const auto fan = wholeNumber(std::string_view(line).substr(kFanLine.size()));
    if (fan && std::find(fans.begin(), fans.end(), *fan) == fans.end()) {
      fans.push_back(static_cast<std::uint32_t>(*fan));
    }
  }
}

}  // namespace halvarin::host
