#include "tests/support/RunningProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace halvarin::test {

namespace {

constexpr int kCannotStart = 127;  // as a shell says it

[[noreturn]] void fail(const char* what) {
  throw std::runtime_error(std::string(what) + ": " + std::system_category().message(errno));
}

int checked(int result, const char* what) {
  if (result < 0) {
    fail(what);
  }
  return result;
}

/// A pipe whose reading end never waits; no other program inherits an end.
std::array<int, 2> newPipe() {
  std::array<int, 2> ends{};
  checked(pipe2(ends.data(), O_CLOEXEC), "pipe");
  checked(fcntl(ends[0], F_SETFL, O_NONBLOCK), "pipe");
  return ends;
}

int newTerminal(TerminalSize size) {
  const int terminal = checked(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "terminal");
  checked(grantpt(terminal), "terminal");
  checked(unlockpt(terminal), "terminal");
  checked(fcntl(terminal, F_SETFL, O_NONBLOCK), "terminal");
  winsize window{};
  window.ws_row = size.rows;
  window.ws_col = size.columns;
  checked(ioctl(terminal, TIOCSWINSZ, &window), "terminal");
  return terminal;
}

/// What posix_spawn needs, freed afterwards.
struct SpawnPlan {
  explicit SpawnPlan(bool ownSession) {
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    sigset_t signals{};
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    // The first terminal that the leader of a new session opens becomes its own.
    posix_spawnattr_setflags(&attributes,
                             static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK |
                                                (ownSession ? POSIX_SPAWN_SETSID : 0)));
  }
  ~SpawnPlan() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  posix_spawn_file_actions_t actions{};
  posix_spawnattr_t attributes{};
};

/// The process, 0 when there is no such program.
pid_t spawned(const std::string& path, const std::vector<std::string>& words,
              const SpawnPlan& plan) {
  std::vector<std::string> texts{path};
  texts.insert(texts.end(), words.begin(), words.end());
  std::vector<char*> arguments;
  for (std::string& text : texts) {
    arguments.push_back(text.data());
  }
  arguments.push_back(nullptr);
  pid_t pid = 0;
  const int error =
      posix_spawn(&pid, path.c_str(), &plan.actions, &plan.attributes, arguments.data(), environ);
  return error == 0 ? pid : 0;
}

/// A descriptor that becomes readable when the process ends. The system's own header for this call
/// names it in a way that C++ programs cannot link.
int endOf(pid_t pid) {
  return checked(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)), "pidfd_open");
}

int exitOf(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

/// The test's ends of what the program reads and writes, and the program.
struct RunningProgram::Ends {
  int out = -1;
  int err = -1;
  pid_t pid = 0;

  static Ends atPipes(const std::string& path, const std::vector<std::string>& words) {
    const auto [out, outOfProgram] = newPipe();
    const auto [err, errOfProgram] = newPipe();
    SpawnPlan plan(false);
    posix_spawn_file_actions_addopen(&plan.actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&plan.actions, outOfProgram, 1);
    posix_spawn_file_actions_adddup2(&plan.actions, errOfProgram, 2);
    const Ends ends{out, err, spawned(path, words, plan)};
    close(outOfProgram);
    close(errOfProgram);
    return ends;
  }

  static Ends atTerminal(const std::string& path, const std::vector<std::string>& words,
                         TerminalSize size) {
    const int terminal = newTerminal(size);
    SpawnPlan plan(true);
    std::array<char, 64> name{};
    checked(-ptsname_r(terminal, name.data(), name.size()), "terminal");
    posix_spawn_file_actions_addopen(&plan.actions, 0, name.data(), O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&plan.actions, 0, 1);
    posix_spawn_file_actions_adddup2(&plan.actions, 0, 2);
    return {terminal, -1, spawned(path, words, plan)};
  }
};

RunningProgram::RunningProgram(const std::string& path, const std::vector<std::string>& words)
    : RunningProgram(Ends::atPipes(path, words)) {}

RunningProgram::RunningProgram(const std::string& path, const std::vector<std::string>& words,
                               TerminalSize size)
    : RunningProgram(Ends::atTerminal(path, words, size)) {}

RunningProgram::RunningProgram(const Ends& ends)
    : out_(ends.out), err_(ends.err), pid_(ends.pid), end_(ends.pid > 0 ? endOf(ends.pid) : -1) {
  if (pid_ > 0) {
    watcher_ = std::thread([this] { watch(); });
  } else {
    run_.exit = kCannotStart;
    hasEnded_ = true;
  }
}

RunningProgram::~RunningProgram() {
  signal(SIGKILL);
  if (watcher_.joinable()) {
    watcher_.join();
  }
  for (const int descriptor : {out_, err_, end_}) {
    if (descriptor >= 0) {
      close(descriptor);
    }
  }
}

void RunningProgram::signal(int number) {
  const std::lock_guard lock(mutex_);
  if (!hasEnded_) {
    checked(kill(pid_, number), "kill");
  }
}

void RunningProgram::type(std::string_view text) {
  while (!text.empty()) {
    text.remove_prefix(static_cast<std::size_t>(checked(
        static_cast<int>(write(out_, text.data(), text.size())), "typing at the terminal")));
  }
}

bool RunningProgram::waitForOutput(const std::string& text, std::chrono::milliseconds limit) {
  const auto isShown = [&] {
    return run_.out.find(text) != std::string::npos || run_.err.find(text) != std::string::npos;
  };
  std::unique_lock lock(mutex_);
  changed_.wait_for(lock, limit, [&] { return isShown() || hasEnded_; });
  return isShown();
}

std::optional<ProgramRun> RunningProgram::waitForEnd(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  const bool ended = changed_.wait_for(lock, limit, [&] { return hasEnded_; });
  return ended ? std::optional(run_) : std::nullopt;
}

ProgramRun RunningProgram::soFar() {
  const std::lock_guard lock(mutex_);
  return run_;
}

void RunningProgram::watch() {
  std::array<pollfd, 3> waited{{{out_, POLLIN, 0}, {err_, POLLIN, 0}, {end_, POLLIN, 0}}};
  while (waited[2].revents == 0) {
    if (poll(waited.data(), waited.size(), -1) < 0) {
      continue;
    }
    // A descriptor below 0 is passed over from then on: nothing more comes from it.
    waited[0].fd = waited[0].revents != 0 && !readAll(out_, &ProgramRun::out) ? -1 : waited[0].fd;
    waited[1].fd = waited[1].revents != 0 && !readAll(err_, &ProgramRun::err) ? -1 : waited[1].fd;
  }
  // What it wrote before its end is all there now; its children may hold the other ends for longer.
  static_cast<void>(readAll(out_, &ProgramRun::out));
  static_cast<void>(err_ >= 0 && readAll(err_, &ProgramRun::err));
  int status = 0;
  const std::lock_guard lock(mutex_);
  waitpid(pid_, &status, 0);
  run_.exit = exitOf(status);
  hasEnded_ = true;
  changed_.notify_all();
}

bool RunningProgram::readAll(int descriptor, std::string ProgramRun::*text) {
  std::array<char, 4096> bytes{};
  for (;;) {
    const ssize_t count = read(descriptor, bytes.data(), bytes.size());
    if (count <= 0) {
      return count < 0 && (errno == EAGAIN || errno == EINTR);
    }
    const std::lock_guard lock(mutex_);
    (run_.*text).append(bytes.data(), static_cast<std::size_t>(count));
    changed_.notify_all();
  }
}

}  // namespace halvarin::test
