// A fan that is to be handed back while something stands in the way: nobody is told that it is
// automatic before it is, and somebody goes on trying.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/FanMachines.h"
#include "tests/support/Guardian.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/ServedMachine.h"
#include "tests/support/Until.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

constexpr auto kMost = 20s;
constexpr auto kHandBackLimit = 2s;
constexpr std::uint8_t kRead = 5;
constexpr std::uint8_t kWrite = 6;
constexpr std::uint8_t kKeyInfo = 9;
constexpr auto kBusy = static_cast<platform::MachineStatus>(0xE00002D5);

platform::Simulation slow() {
  platform::Simulation simulation;
  simulation.latency = 40ms * ServedMachine::kFactor;
  return simulation;
}

/// A machine with mode keys that takes its time for every transfer, so that a test comes between.
class SlowMachine : public testing::Test {
 protected:
  SlowMachine() : machine_(fanMachine(FanStyle::modeKeys), slow()) {}
  bool isForced(const char* key = "F0Md") { return machine_.number(key, 1) != 0; }
  /// Ends the program by Ctrl-C while it looks at its fan, after it has said so much.
  void expectAnOrderlyEnd(const char* said) {
    RunningProgram program(HALVARIN_PROGRAM, machine_.words({"fan", "1", "2500"}));
    ASSERT_TRUE(program.waitForOutput(said, kMost));
    const std::size_t looks = machine_.readCount("TC0P");
    ASSERT_TRUE(becomesTrue(kMost, [&] { return machine_.readCount("TC0P") > looks; }));
    program.signal(SIGINT);
    const auto run = program.waitForEnd(kMost);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->exit, 0) << run->err;
    EXPECT_THAT(run->out, HasSubstr("Fan 1 is under automatic control again."));
  }

  ServedMachine machine_;
};

TEST_F(SlowMachine, LeavesNoFanForcedWithAWordThatItIsNot) {
  RunningProgram program(HALVARIN_PROGRAM, machine_.words({"fan", "0", "2500", "--leave"}));
  ASSERT_TRUE(program.waitForOutput("asked for", kMost)) << program.soFar().err;
  machine_.breakable().breakKey("F0Md", kWrite, kBusy);
  program.signal(SIGINT);
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 6) << run->out;
  EXPECT_THAT(run->out, Not(HasSubstr("automatic control")));
  EXPECT_THAT(run->err, HasSubstr("could not be handed back"));
  machine_.breakable().mend();
  EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return !isForced(); }));
}

TEST_F(SlowMachine, FanThatWasForcedByHalfIsNotSaidToBeUnforced) {
  RunningProgram program(HALVARIN_PROGRAM, machine_.words({"fan", "0", "2500"}));
  ASSERT_TRUE(becomesTrue(kMost, [&] { return isForced(); }));
  machine_.breakable().breakKey("F0Md", kWrite, kBusy);
  machine_.breakable().breakKey("F0Tg", kWrite, kBusy);
  program.signal(SIGINT);
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 6) << run->out;
  EXPECT_THAT(run->out, Not(HasSubstr("Ended before")));
  machine_.breakable().mend();
  EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return !isForced(); }));
}

TEST_F(SlowMachine, CtrlCDuringALookIsNobodyElsesHandBack) {
  expectAnOrderlyEnd("turns at");
}

TEST_F(SlowMachine, CtrlCDuringTheFirstLookIsNoRefusedCommand) {
  expectAnOrderlyEnd("Ctrl-C hands it back");
}

TEST(FanKeysLostAtListing, FanIsNotSaidToBeAutomatic) {
  for (const FanStyle style : {FanStyle::forceBits, FanStyle::modeKeys}) {
    ServedMachine machine(fanMachine(style));
    const std::string key = style == FanStyle::forceBits ? "FS! " : "F0Md";
    const std::uint8_t size = style == FanStyle::forceBits ? 2 : 1;
    machine.write(key, size, 1);
    machine.breakable().breakKey(key, kKeyInfo, kBusy);
    const ProgramRun run = halvarinRun(machine.words({"fan", "0", "auto"}));
    EXPECT_EQ(run.exit, 6) << run.out;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(machine.number(key, size), 1U);
  }
}

/// Whether a running process ignores a signal.
bool ignores(pid_t process, int signal) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  for (std::string word; status >> word;) {
    if (std::uint64_t mask = 0; word == "SigIgn:" && status >> std::hex >> mask) {
      return ((mask >> (signal - 1)) & 1U) != 0;
    }
  }
  return false;
}

TEST(HeldFanOfACarelessParent, EndOfTheGuardianIsKeptUntilTheProgramAsksForIt) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys));
  // Whose children's ends are ignored may find a child's number given to another process.
  std::vector<std::string> words{"--ignore-signal=CHLD", HALVARIN_PROGRAM};
  const auto command = machine.words({"fan", "0", "4000"});
  words.insert(words.end(), command.begin(), command.end());
  RunningProgram program("/usr/bin/env", words);
  ASSERT_TRUE(program.waitForOutput("Ctrl-C hands it back", kMost)) << program.soFar().err;
  EXPECT_FALSE(ignores(program.pid(), SIGCHLD));
  program.signal(SIGINT);
  EXPECT_EQ(program.waitForEnd(kMost)->exit, 0);
}

/// A program that holds fan 0 of a machine with mode keys.
class TroubledFan : public testing::Test {
 protected:
  explicit TroubledFan(const char* until = "turns at")
      : machine_(fanMachine(FanStyle::modeKeys)), words_(machine_.words({"fan", "0", "4000"})) {
    program_.emplace(HALVARIN_PROGRAM, words_);
    EXPECT_TRUE(program_->waitForOutput(until, kMost)) << program_->soFar().err;
    EXPECT_TRUE(isForced());
  }
  bool isForced() { return machine_.number("F0Md", 1) != 0; }
  /// Waits for so many looks of the program at its fan.
  void waitForLooks(std::size_t count) {
    const std::size_t before = machine_.readCount("F0Ac");
    EXPECT_TRUE(becomesTrue(kMost, [&] { return machine_.readCount("F0Ac") >= before + count; }));
  }

  ServedMachine machine_;
  const std::vector<std::string> words_;
  std::optional<RunningProgram> program_;
};

TEST_F(TroubledFan, IsHandedBackByTheProgramItselfOnceItsGuardianIsDead) {
  machine_.breakable().breakKey("F0Md", kWrite, kBusy);
  ASSERT_TRUE(killGuardianOf(words_[1]));
  EXPECT_FALSE(program_->waitForEnd(700ms)) << "it gave up";
  machine_.breakable().mend();
  const auto run = program_->waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 6);
  EXPECT_THAT(run->err, HasSubstr("Fan 0 could not be handed back yet"));
  EXPECT_THAT(run->err, HasSubstr("the guardian has ended, so Fan 0 was handed back"));
  EXPECT_FALSE(isForced());
}

TEST_F(TroubledFan, IsHeldOnWhileItsControlCannotBeReadForAMoment) {
  machine_.breakable().breakKey("F0Md", kRead, kBusy);
  waitForLooks(2);
  machine_.breakable().mend();
  waitForLooks(7);
  EXPECT_TRUE(isForced());
  program_->signal(SIGINT);
  const auto run = program_->waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 0) << run->err;
  EXPECT_THAT(run->out, Not(HasSubstr("something else")));
}

TEST_F(TroubledFan, IsHandedBackWhenItsControlCannotBeReadAnyMore) {
  machine_.breakable().breakKey("F0Md", kRead, kBusy);
  const auto run = program_->waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 6);
  EXPECT_THAT(run->out, Not(HasSubstr("something else")));
  EXPECT_FALSE(isForced());
  machine_.breakable().mend();
}

class JustForcedFan : public TroubledFan {
 protected:
  JustForcedFan() : TroubledFan("Ctrl-C hands it back") {}
};

TEST_F(JustForcedFan, WhoseControlCannotBeReadForAMomentHasNotRefusedTheCommand) {
  machine_.breakable().breakKey("F0Md", kRead, kBusy);
  waitForLooks(2);
  machine_.breakable().mend();
  EXPECT_TRUE(program_->waitForOutput("turns at", kMost)) << program_->soFar().err;
  program_->signal(SIGINT);
  const auto run = program_->waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 0) << run->err;
}

}  // namespace
}  // namespace halvarin::test
