#include "tests/support/RunningProgram.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

/// Far above what anything here takes; only a test that fails waits so long.
constexpr auto kPatience = 20s;

constexpr const char* kShell = "/bin/sh";

std::vector<std::string> script(const std::string& text) {
  return {"-c", text};
}

TEST(RunningProgram, EndsWithItsExitAndBothOutputs) {
  RunningProgram program(kShell, script("echo said; echo complained >&2; exit 7"));
  const auto run = program.waitForEnd(kPatience);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 7);
  EXPECT_EQ(run->out, "said\n");
  EXPECT_EQ(run->err, "complained\n");
}

TEST(RunningProgram, GivesTheProgramItsWordsAsTheyAre) {
  RunningProgram program(kShell, {"-c", R"(printf '<%s>' "$@")", "sh", "two words", "", "*'\"\n"});
  const auto run = program.waitForEnd(kPatience);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->out, "<two words><><*'\"\n>");
}

TEST(RunningProgram, HasNoStandardInput) {
  RunningProgram program(kShell, script("cat; echo end of input"));
  const auto run = program.waitForEnd(kPatience);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->out, "end of input\n");
}

TEST(RunningProgram, OutputOfAnyLengthArrivesWhole) {
  RunningProgram program(kShell, script("head -c 1000000 /dev/zero; echo x; head -c 300000 "
                                        "/dev/zero >&2"));
  const auto run = program.waitForEnd(kPatience);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->out, std::string(1000000, '\0') + "x\n");
  EXPECT_EQ(run->err.size(), 300000U);
}

TEST(RunningProgram, OutputCanBeAwaitedWhileItRuns) {
  RunningProgram program(kShell, script("echo ready >&2; exec sleep 1000"));
  EXPECT_TRUE(program.waitForOutput("ready", kPatience));
  EXPECT_FALSE(program.waitForEnd(0ms));
  EXPECT_EQ(program.soFar().err, "ready\n");
  EXPECT_EQ(program.soFar().exit, -1);
  EXPECT_FALSE(program.waitForOutput("never", 1ms));
}

TEST(RunningProgram, WaitForOutputGivesUpWhenTheProgramEnds) {
  RunningProgram program(kShell, script("echo other"));
  EXPECT_FALSE(program.waitForOutput("never", 24h));
  EXPECT_TRUE(program.waitForOutput("other", 0ms));
}

TEST(RunningProgram, SignalReachesItAndShowsAsExit) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
    RunningProgram program(kShell, script("echo ready; exec sleep 1000"));
    ASSERT_TRUE(program.waitForOutput("ready", kPatience));
    program.signal(number);
    const auto run = program.waitForEnd(kPatience);
    ASSERT_TRUE(run) << number;
    EXPECT_EQ(run->exit, 128 + number);
    program.signal(SIGKILL);  // nothing is there any more
  }
}

TEST(RunningProgram, PidIsTheProgramsOwn) {
  RunningProgram program(kShell, script("echo $$"));
  const auto run = program.waitForEnd(kPatience);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->out, std::to_string(program.pid()) + "\n");
}

TEST(RunningProgram, StartsWithSignalsAtTheirDefaultsAndNoneBlocked) {
  std::signal(SIGHUP, SIG_IGN);
  std::signal(SIGINT, SIG_IGN);
  sigset_t blocked{};
  sigset_t before{};
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  RunningProgram program(kShell, script("sed -n 's/^Sig\\(Blk\\|Ign\\):.//p' /proc/self/status"));
  const auto run = program.waitForEnd(kPatience);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  std::signal(SIGHUP, SIG_DFL);
  std::signal(SIGINT, SIG_DFL);
  ASSERT_TRUE(run);
  std::istringstream lines(run->out);
  std::uint64_t isBlocked = 1;
  std::uint64_t isIgnored = 1;
  lines >> std::hex >> isBlocked >> isIgnored;
  ASSERT_TRUE(lines) << run->out;
  // Signals 32 and 33 are the threads library's own: no program can change them.
  constexpr std::uint64_t kOfThreads = 0x180000000;
  EXPECT_EQ(isBlocked, 0U);
  EXPECT_EQ(isIgnored & ~kOfThreads, 0U);
}

TEST(RunningProgram, EndIsSeenWhileAChildStillHoldsTheOutputs) {
  RunningProgram program(kShell, script("sleep 1000 & echo $!; exit 3"));
  const auto run = program.waitForEnd(kPatience);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 3);
  const pid_t child = std::stoi(run->out);
  EXPECT_EQ(kill(child, 0), 0) << "the child is gone";
  EXPECT_EQ(kill(child, SIGKILL), 0);
}

TEST(RunningProgram, ProgramLeftOverIsKilledAndReaped) {
  pid_t pid = 0;
  {
    const RunningProgram program(kShell, script("trap '' TERM INT HUP; exec sleep 1000"));
    pid = program.pid();
    EXPECT_EQ(kill(pid, 0), 0);
  }
  EXPECT_EQ(kill(pid, 0), -1);
  EXPECT_EQ(errno, ESRCH);
}

TEST(RunningProgram, ProgramThatCannotBeStartedEndsWith127) {
  RunningProgram program("/no/such/program", {});
  const auto run = program.waitForEnd(0ms);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 127);
  program.signal(SIGKILL);
  RunningProgram atTerminal("/no/such/program", {}, TerminalSize{});
  EXPECT_TRUE(atTerminal.waitForEnd(0ms));
}

TEST(RunningProgramAtATerminal, HasATerminalOfThatSizeAsAllThree) {
  RunningProgram program(kShell, script("test -t 0 && test -t 1 && test -t 2 && stty size"),
                         TerminalSize{31, 97});
  const auto run = program.waitForEnd(kPatience);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 0);
  EXPECT_EQ(run->out, "31 97\r\n");
  EXPECT_EQ(run->err, "");
}

TEST(RunningProgramAtATerminal, GetsWhatIsTyped) {
  RunningProgram program(kShell, script("echo name?; read name; echo hello $name"), TerminalSize{});
  ASSERT_TRUE(program.waitForOutput("name?", kPatience));
  program.type("Ada\n");
  const auto run = program.waitForEnd(kPatience);
  ASSERT_TRUE(run);
  EXPECT_THAT(run->out, HasSubstr("hello Ada\r\n"));
}

TEST(RunningProgramAtATerminal, IsInterruptedByCtrlC) {
  RunningProgram program(kShell, script("echo ready; exec sleep 1000"), TerminalSize{});
  ASSERT_TRUE(program.waitForOutput("ready", kPatience));
  program.type("\x03");
  const auto run = program.waitForEnd(kPatience);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 128 + SIGINT);
}

TEST(RunningProgramAtATerminal, LastOutputBeforeTheEndIsNotLost) {
  for (int round = 0; round < 50; ++round) {
    RunningProgram program(kShell, script("printf '%2000s' last"), TerminalSize{});
    const auto run = program.waitForEnd(kPatience);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->out, std::string(1996, ' ') + "last") << round;
  }
}

}  // namespace
}  // namespace halvarin::test
