// Fans of a Mac that runs Linux, forced and handed back by the program, down to the kernel's files.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/AppleSiliconTree.h"
#include "tests/support/FanMachines.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/ScriptedDriver.h"
#include "tests/support/SharedData.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Until.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Names = DriverScript::Names;

constexpr auto kMost = 20s;

class FansUnderLinux : public testing::Test {
 protected:
  FansUnderLinux() { setenv("HALVARIN_TEST_COMPUTER", folder_.path().c_str(), 1); }

  void layOut(FanStyle style, Names names = Names::older, std::set<std::string> denied = {}) {
    ScriptedDriver::layOut(folder_.path(), fanMachine(style),
                           {names, {}, std::move(denied), false});
  }
  std::vector<std::string> writes() { return ScriptedDriver(folder_.path()).writes(); }

  /// Forces fan 0, waits until the program says that it turns, and ends it with a signal.
  ProgramRun forceAndEnd(int signal) {
    RunningProgram program(HALVARIN_ROOTED, {"fan", "0", "2500"});
    EXPECT_TRUE(program.waitForOutput("turns at", kMost)) << program.soFar().err;
    program.signal(signal);
    return program.waitForEnd(kMost).value_or(ProgramRun());
  }

  const TemporaryFolder folder_;
};

TEST_F(FansUnderLinux, AreWrittenExactlyAsLongAsTheyAreHeld) {
  layOut(FanStyle::forceBits);
  const ProgramRun run = forceAndEnd(SIGINT);
  EXPECT_EQ(run.exit, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Fan 0: asked for 2500 RPM"));
  EXPECT_THAT(run.out, HasSubstr("turns at 2500 RPM, target 2500 RPM"));
  EXPECT_THAT(writes(), ElementsAre("fan1_manual 1", "fan1_output 2500", "fan1_manual 0"));
}

TEST_F(FansUnderLinux, AreWrittenUnderTheNamesOfNewerKernels) {
  layOut(FanStyle::forceBits, Names::newer);
  EXPECT_EQ(forceAndEnd(SIGINT).exit, 0);
  EXPECT_THAT(writes(), ElementsAre("pwm1_enable 1", "fan1_target 2500", "pwm1_enable 2"));
}

TEST_F(FansUnderLinux, AreForcedByTheirModeKeysWhereTheyHaveThem) {
  layOut(FanStyle::modeKeys);
  EXPECT_EQ(forceAndEnd(SIGTERM).exit, 0);
  EXPECT_THAT(writes(), ElementsAre("fan1_manual 1", "fan1_output 2500", "fan1_manual 0"));
}

TEST_F(FansUnderLinux, AreHandedBackByTheGuardianOfAKilledProgram) {
  layOut(FanStyle::forceBits);
  EXPECT_EQ(forceAndEnd(SIGKILL).exit, 128 + SIGKILL);
  EXPECT_TRUE(becomesTrue(2s, [&] { return writes().size() == 3; }));
  EXPECT_THAT(writes(), ElementsAre("fan1_manual 1", "fan1_output 2500", "fan1_manual 0"));
}

TEST_F(FansUnderLinux, LeaveTheForcedFansOfOthersAlone) {
  layOut(FanStyle::forceBits);
  ScriptedDriver(folder_.path()).setForced(1, true);
  EXPECT_EQ(forceAndEnd(SIGINT).exit, 0);
  EXPECT_THAT(writes(), ElementsAre("fan1_manual 1", "fan1_output 2500", "fan1_manual 0"));
}

TEST_F(FansUnderLinux, EndWithExit5WhereThisUserMayNotCommandThem) {
  layOut(FanStyle::forceBits, Names::older,
         {"fan1_manual", "fan1_output", "fan2_manual", "fan2_output"});
  const ProgramRun run = runProgram(HALVARIN_ROOTED, {"fan", "0", "2500"});
  EXPECT_EQ(run.exit, 5);
  EXPECT_THAT(run.err, HasSubstr("e00002c1"));
  EXPECT_THAT(run.err, HasSubstr("not permitted"));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(FansUnderLinux, AreNotWrittenWhereTheNamesOfTwoKernelsMeet) {
  layOut(FanStyle::forceBits, Names::both);
  const ProgramRun run = runProgram(HALVARIN_ROOTED, {"fan", "0", "2500"});
  EXPECT_EQ(run.exit, 6);
  EXPECT_THAT(run.err, HasSubstr("did not take the command"));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(FansUnderLinux, AreNotSaidToBeLeftForcedWhenTheCommandWasRefused) {
  layOut(FanStyle::forceBits, Names::both);
  const ProgramRun run = runProgram(HALVARIN_ROOTED, {"fan", "0", "2500", "--leave"});
  EXPECT_EQ(run.exit, 6);
  EXPECT_THAT(run.out, Not(HasSubstr("left forced")));
  EXPECT_THAT(run.err, HasSubstr("did not take the command"));
}

/// A controller that takes its time for every value, so that listing the keys takes a second.
class SlowFansUnderLinux : public FansUnderLinux {
 protected:
  SlowFansUnderLinux() {
    ScriptedDriver::layOut(folder_.path(), fanMachine(FanStyle::forceBits),
                           {Names::older, 30ms, {}, false});
  }
  std::uint64_t valuesRead() { return ScriptedDriver(folder_.path()).valuesRead(); }

  /// Ends the program with a signal while its guardian lists the keys.
  ProgramRun endBeforeTheGuardianIsReady(const std::vector<std::string>& words) {
    RunningProgram program(HALVARIN_ROOTED, words);
    EXPECT_TRUE(program.waitForOutput("Machine:", kMost)) << program.soFar().err;
    const std::uint64_t ofProgram = valuesRead();
    EXPECT_TRUE(becomesTrue(kMost, [&] { return valuesRead() > ofProgram; }));
    const std::uint64_t atSignal = valuesRead();
    program.signal(SIGINT);
    const ProgramRun run = program.waitForEnd(kMost).value_or(ProgramRun());
    const std::uint64_t atEnd = valuesRead();
    EXPECT_LE(atEnd, atSignal + 4) << "the guardian was waited for";
    EXPECT_FALSE(becomesTrue(500ms, [&] { return valuesRead() > atEnd; })) << "it goes on";
    return run;
  }
};

TEST_F(SlowFansUnderLinux, AreNotWaitedForWhenTheEndIsAskedForFirst) {
  const ProgramRun run = endBeforeTheGuardianIsReady({"fan", "0", "2500"});
  EXPECT_EQ(run.exit, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Ended before Fan 0 was forced."));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(SlowFansUnderLinux, AreNotTestedWhenTheEndIsAskedForFirst) {
  const ProgramRun run = endBeforeTheGuardianIsReady({"test", "fans"});
  EXPECT_EQ(run.exit, 4) << run.err;
  EXPECT_THAT(run.err, HasSubstr("ended before a fan was tested"));
  EXPECT_THAT(writes(), IsEmpty());
}

/// One fan of a Mac with Apple silicon, in plain files.
class AppleSiliconFan : public FansUnderLinux {
 protected:
  AppleSiliconFan() { layOutAppleSilicon(folder_); }
  std::string target() { return fileText(folder_.path() / kTarget); }
  /// Lets nobody write the target, or its owner again.
  void close(bool isClosed = true) {
    using std::filesystem::perms;
    std::filesystem::permissions(
        folder_.path() / kTarget,
        isClosed ? perms::owner_read : perms::owner_read | perms::owner_write);
  }
  const std::string kTarget = std::string(kAppleSiliconMonitor) + "fan1_target";
};

TEST_F(AppleSiliconFan, IsForcedByItsTargetAndHandedBackByZero) {
  RunningProgram program(HALVARIN_ROOTED, {"fan", "0", "2500"});
  ASSERT_TRUE(program.waitForOutput("turns at", kMost)) << program.soFar().err;
  EXPECT_EQ(target(), "2500");
  program.signal(SIGINT);
  EXPECT_EQ(program.waitForEnd(kMost)->exit, 0);
  EXPECT_EQ(target().front(), '0');
}

TEST_F(AppleSiliconFan, IsHandedBackByTheGuardianOfAKilledProgram) {
  EXPECT_EQ(forceAndEnd(SIGKILL).exit, 128 + SIGKILL);
  EXPECT_TRUE(becomesTrue(2s, [&] { return target().front() == '0'; })) << target();
}

TEST_F(AppleSiliconFan, IsHandedBackByAnotherRunOfTheProgram) {
  ASSERT_EQ(runProgram(HALVARIN_ROOTED, {"fan", "0", "2500", "--leave"}).exit, 0);
  EXPECT_EQ(target(), "2500");
  EXPECT_EQ(runProgram(HALVARIN_ROOTED, {"fan", "0", "auto"}).exit, 0);
  EXPECT_EQ(target().front(), '0');
}

TEST_F(AppleSiliconFan, IsLeftAloneWhereTheDriverLetsNobodyWrite) {
  close();
  const ProgramRun run = runProgram(HALVARIN_ROOTED, {"fan", "0", "2500"});
  EXPECT_EQ(run.exit, 6);
  EXPECT_THAT(run.err, HasSubstr("did not take the command"));
  EXPECT_EQ(target(), "1499");
}

TEST_F(AppleSiliconFan, IsNotSaidToBeHandedBackWhenTheDriverRefusesThat) {
  RunningProgram program(HALVARIN_ROOTED, {"fan", "0", "2500"});
  ASSERT_TRUE(program.waitForOutput("turns at", kMost)) << program.soFar().err;
  close();
  program.signal(SIGINT);
  const ProgramRun run = program.waitForEnd(kMost).value_or(ProgramRun());
  EXPECT_EQ(run.exit, 6);
  EXPECT_THAT(run.out, Not(HasSubstr("automatic control again")));
  EXPECT_THAT(run.err, HasSubstr("could not be handed back"));
  EXPECT_EQ(target(), "2500");
  close(false);  // the guardian goes on trying
  EXPECT_TRUE(becomesTrue(kMost, [this] { return target().front() == '0'; }));
}

TEST_F(AppleSiliconFan, IsNotSaidToBeAutomaticWhenTheDriverRefusesThat) {
  folder_.write(kTarget, "2500");
  close();
  const ProgramRun run = runProgram(HALVARIN_ROOTED, {"fan", "0", "auto"});
  EXPECT_EQ(run.exit, 6);
  EXPECT_THAT(run.err, HasSubstr("could not be handed back (status e00002ca)"));
  EXPECT_EQ(target(), "2500");
}

}  // namespace
}  // namespace halvarin::test
