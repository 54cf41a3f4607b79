// How the fan self-test lets go of the fans of a machine that does not do what it is told.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/FanMachines.h"
#include "tests/support/Guardian.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/RootedLogs.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/ServedMachine.h"
#include "tests/support/Until.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr auto kMost = 30s;  // until a program on a busy computer has come so far
constexpr auto kHandBackLimit = 2s;
constexpr std::uint8_t kRead = 5;
constexpr std::uint8_t kWrite = 6;
constexpr auto kBusy = static_cast<platform::MachineStatus>(0xE00002D5);

/// `test fans` with its logs in a folder of the test's own.
class TestedFans : public testing::Test {
 protected:
  /// From now on the terminal takes nothing more, and the program has met that.
  static void stopTerminal(RunningProgram& program) {
    program.type("\x13");  // Ctrl-S
    std::this_thread::sleep_for(300ms);
  }
  static void goOnWithTerminal(RunningProgram& program) {
    program.type("\x11");  // Ctrl-Q
  }

  const RootedLogs logs_;
};

TEST_F(TestedFans, TestFlagThatCouldNotBeSwitchedOffIsLeftToTheGuardian) {
  ServedMachine machine(fanMachine(FanStyle::testFlag));
  RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans"}));
  ASSERT_TRUE(program.waitForOutput("rah_max", kMost));
  machine.breakable().breakKey("Ftst", kWrite, kBusy);
  program.signal(SIGINT);
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 6) << run->out << run->err;
  EXPECT_THAT(run->err, HasSubstr("the fans' test flag could not be switched off"));
  machine.breakable().mend();
  EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return machine.number("Ftst", 1) == 0; }));
}

TEST_F(TestedFans, FanWhoseControlCannotBeReadIsNotTakenForHandedBack) {
  for (const FanStyle style : {FanStyle::forceBits, FanStyle::modeKeys}) {
    const std::string key = style == FanStyle::forceBits ? "FS! " : "F0Md";
    const std::uint8_t size = style == FanStyle::forceBits ? 2 : 1;
    ServedMachine machine(fanMachine(style));
    RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0"}));
    ASSERT_TRUE(program.waitForOutput("rah_max", kMost));
    machine.breakable().breakKey(key, kRead, kBusy);
    machine.breakable().breakKey(key, kWrite, kBusy);
    program.signal(SIGINT);
    const auto run = program.waitForEnd(kMost);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->exit, 6) << run->out << run->err;
    EXPECT_THAT(run->err, HasSubstr("fan 0 could not be handed back"));
    EXPECT_THAT(run->out, HasSubstr("Fan self-test: Canceled"));
    EXPECT_NE(machine.number(key, size), 0U) << key;
    machine.breakable().mend();
    EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return machine.number(key, size) == 0; })) << key;
  }
}

TEST_F(TestedFans, AreHandedBackThoughTheirNumberCannotBeRead) {
  for (const FanStyle style : {FanStyle::forceBits, FanStyle::modeKeys, FanStyle::testFlag}) {
    ServedMachine machine(fanMachine(style));
    RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans"}));
    ASSERT_TRUE(program.waitForOutput("rah_max", kMost));
    machine.breakable().breakKey("FNum", kRead, kBusy);
    program.signal(SIGINT);
    const auto run = program.waitForEnd(kMost);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->exit, 4) << run->err;
    EXPECT_EQ(machine.number("FS! ", 2), 0U);
    EXPECT_EQ(machine.number("F0Md", 1) + machine.number("F1md", 1), 0U);
    EXPECT_EQ(machine.number("Ftst", 1), 0U);
  }
}

TEST_F(TestedFans, UserWhoMayNeitherReadNorWriteTheModeIsToldSoAndLeavesNoGuardian) {
  constexpr auto kNotPermitted = static_cast<platform::MachineStatus>(0xE00002C1);
  ServedMachine machine(fanMachine(FanStyle::modeKeys));
  machine.breakable().breakKey("F0Md", kRead, kNotPermitted);
  machine.breakable().breakKey("F0Md", kWrite, kNotPermitted);
  const ProgramRun run = runProgram(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0"}));
  EXPECT_EQ(run.exit, 5) << run.out << run.err;
  EXPECT_THAT(run.err, HasSubstr("not permitted; run it as root"));
  const std::size_t before = machine.readCount("FNum");
  EXPECT_FALSE(becomesTrue(kHandBackLimit, [&] { return machine.readCount("FNum") > before; }));
}

TEST_F(TestedFans, AreHandedBackByTheProgramItselfOnceItsGuardianIsDead) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys));
  const auto words = machine.words({"test", "fans", "--fan", "0"});
  RunningProgram program(HALVARIN_ROOTED, words);
  ASSERT_TRUE(program.waitForOutput("rah_max", kMost));
  machine.breakable().breakKey("F0Md", kWrite, kBusy);
  ASSERT_TRUE(killGuardianOf(words[1]));
  EXPECT_FALSE(program.waitForEnd(700ms)) << "it gave up";
  machine.breakable().mend();
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 6) << run->out << run->err;
  EXPECT_THAT(run->err, HasSubstr("the guardian has ended, so the fan self-test was canceled\n"));
  EXPECT_EQ(machine.number("F0Md", 1), 0U);
}

TEST_F(TestedFans, AreNotSaidToBeTriedOnByAGuardianThatIsDead) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys), {}, 100);
  const auto words = machine.words({"test", "fans", "--fan", "0"});
  RunningProgram program(HALVARIN_ROOTED, words);
  ASSERT_TRUE(program.waitForOutput("rah_max", kMost));
  machine.breakable().breakKey("F0Md", kWrite, kBusy);
  ASSERT_TRUE(killGuardianOf(words[1]));
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 6) << run->out << run->err;
  EXPECT_THAT(run->err, HasSubstr("the guardian has ended, so the fan self-test was canceled; fan "
                                  "0 could not be handed back (status e00002d5)\n"));
}

TEST_F(TestedFans, AreHandedBackThoughTheTerminalTakesNothingMore) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys), {}, 2);
  RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0"}),
                         TerminalSize{});
  ASSERT_TRUE(program.waitForOutput("rah_max", kMost));
  stopTerminal(program);
  ASSERT_EQ(machine.number("F0Md", 1), 1U);
  program.signal(SIGTERM);
  EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return machine.number("F0Md", 1) == 0; }));
  goOnWithTerminal(program);
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 4) << run->out;
}

TEST_F(TestedFans, AreHandedBackAtTheEndOfATestThoughTheTerminalTakesNothingMore) {
  ServedMachine machine(fanMachine(FanStyle::forceBits));
  RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0"}),
                         TerminalSize{});
  ASSERT_TRUE(program.waitForOutput("rah_max", kMost));
  stopTerminal(program);
  ASSERT_EQ(machine.number("FS! ", 2), 1U);
  EXPECT_TRUE(becomesTrue(kMost, [&] { return machine.number("FS! ", 2) == 0; }));
  goOnWithTerminal(program);
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 0) << run->out;
  EXPECT_THAT(run->out, HasSubstr("Fan self-test: Passed, 1 fan"));
}

TEST_F(TestedFans, AreHandedBackThoughNobodyTakesTheLinesOfTheirStates) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys), {}, 2);
  RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans", "--json", "--fan", "0"}),
                         TerminalSize{});
  ASSERT_TRUE(program.waitForOutput("wait_speed", kMost));
  stopTerminal(program);
  ASSERT_EQ(machine.number("F0Md", 1), 1U);
  ASSERT_TRUE(becomesTrue(kMost, [&] { return machine.number("F0Tg", 2) < 3000 * 4; }));
  program.signal(SIGTERM);
  EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return machine.number("F0Md", 1) == 0; }));
  goOnWithTerminal(program);
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 4) << run->out;
}

TEST_F(TestedFans, AreCanceledResultsWhenTheEndIsAskedForBeforeTheGuardianIsReady) {
  platform::Simulation slow;
  slow.latency = 40ms * ServedMachine::kFactor;
  ServedMachine machine(fanMachine(FanStyle::modeKeys), slow);
  const auto words = machine.words({"test", "fans", "--json"});
  RunningProgram program(HALVARIN_ROOTED, words);
  ASSERT_TRUE(becomesTrue(kMost, [&] { return guardianOf(words[1]) != 0; }));
  program.signal(SIGINT);
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 4) << run->err;
  EXPECT_THAT(run->err, HasSubstr("halvarin: ended before a fan was tested\n"));
  ASSERT_TRUE(nlohmann::json::accept(run->out)) << run->out;
  const auto test = nlohmann::json::parse(run->out);
  EXPECT_EQ(test["status"], "Canceled");
  ASSERT_EQ(test["fanTestResults"].size(), 2U);
  EXPECT_EQ(test["fanTestResults"][1]["status"], "Canceled");
  EXPECT_THAT(machine.writes(), testing::IsEmpty());
}

}  // namespace
}  // namespace halvarin::test
