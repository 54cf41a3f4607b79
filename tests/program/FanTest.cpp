// The command that forces a fan.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "tests/support/FanMachines.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/ServedMachine.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto kMost = 20s;

std::vector<std::string> simulated(std::vector<std::string> command, const char* model = "") {
  std::vector<std::string> words{"--machine", std::string("simulated") + model, "--clock", "50"};
  words.insert(words.end(), command.begin(), command.end());
  return words;
}

TEST(Fan, SaysWhatWasAskedAndWhatTheFanDoes) {
  RunningProgram program(HALVARIN_PROGRAM, simulated({"fan", "0", "4000"}));
  ASSERT_TRUE(program.waitForOutput("turns at", kMost)) << program.soFar().err;
  program.signal(SIGINT);
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 0);
  EXPECT_THAT(run->out, HasSubstr("asked for 4000 RPM"));
  EXPECT_THAT(run->out, testing::ContainsRegex("Fan 0.* turns at 3[0-9]{3} RPM, target 4000 RPM "
                                               "\\(mode 1\\)"));
  EXPECT_THAT(run->out, HasSubstr("is under automatic control again.\n"));
}

TEST(Fan, ShowsTheBitOnMachinesWithForceBits) {
  ServedMachine machine(fanMachine(FanStyle::forceBits));
  RunningProgram program(HALVARIN_PROGRAM, machine.words({"fan", "1", "4000"}));
  ASSERT_TRUE(program.waitForOutput("bit 1 of \"FS! \" is 1", kMost)) << program.soFar().out;
  program.signal(SIGTERM);
  EXPECT_EQ(program.waitForEnd(kMost)->exit, 0);
  EXPECT_THAT(machine.writes(), ElementsAre("write FS!  size 2 bytes 0002 -> done",
                                            "write F1Tg size 2 bytes 3E80 -> done",
                                            "write FS!  size 2 bytes 0000 -> done"));
}

TEST(Fan, WorksOnTheMachineWithATestFlag) {
  for (const char* fan : {"0", "1"}) {
    RunningProgram program(HALVARIN_PROGRAM, simulated({"fan", fan, "4000"}, ":MacBookPro18,1"));
    ASSERT_TRUE(program.waitForOutput("(mode 1)", kMost)) << program.soFar().out;
    program.signal(SIGINT);
    EXPECT_EQ(program.waitForEnd(kMost)->exit, 0);
  }
}

TEST(Fan, LeavesAFanForcedWhenAskedTo) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys));
  const ProgramRun run = halvarinRun(machine.words({"fan", "0", "4000", "--leave"}));
  EXPECT_EQ(run.exit, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("is left forced"));
  EXPECT_THAT(machine.writes(), ElementsAre("write F0Md size 1 bytes 01 -> done",
                                            "write F0Tg size 2 bytes 3E80 -> done"));
}

TEST(Fan, LeavingPostsNoTermination) {
  // The library answers a termination by clearing all force bits.
  ServedMachine machine(fanMachine(FanStyle::forceBits));
  EXPECT_EQ(halvarinRun(machine.words({"fan", "0", "4000", "--leave"})).exit, 0);
  EXPECT_EQ(machine.number("FS! ", 2), 1U);
}

TEST(Fan, AutoHandsAForcedFanBack) {
  ServedMachine machine(fanMachine(FanStyle::testFlag));
  ASSERT_EQ(halvarinRun(machine.words({"fan", "1", "4000", "--leave"})).exit, 0);
  ASSERT_EQ(machine.number("F1md", 1), 1U);
  const ProgramRun run = halvarinRun(machine.words({"fan", "1", "auto"}));
  EXPECT_EQ(run.exit, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("Fan 1 is under automatic control.\n"));
  EXPECT_EQ(machine.number("F1md", 1), 0U);
  EXPECT_EQ(machine.number("Ftst", 1), 0U);
}

TEST(Fan, AutoKeepsTheTestFlagForAnotherForcedFan) {
  ServedMachine machine(fanMachine(FanStyle::testFlag));
  ASSERT_EQ(halvarinRun(machine.words({"fan", "0", "4000", "--leave"})).exit, 0);
  ASSERT_EQ(halvarinRun(machine.words({"fan", "1", "4000", "--leave"})).exit, 0);
  EXPECT_EQ(halvarinRun(machine.words({"fan", "1", "auto"})).exit, 0);
  EXPECT_EQ(machine.number("F0Md", 1), 1U);
  EXPECT_EQ(machine.number("Ftst", 1), 1U);
}

struct Refusal {
  std::vector<std::string> words;
  const char* says;
};

TEST(Fan, WrongRequestsAreRefusedWithALineThatSaysWhatIsPossible) {
  const std::vector<Refusal> rows{
      {{"fan"}, "fan takes"},
      {{"fan", "0"}, "fan takes"},
      {{"fan", "x", "3000"}, "number of a fan"},
      {{"fan", "-1", "3000"}, "number of a fan"},
      {{"fan", "2", "3000"}, "there are fans 0 to 1"},
      {{"fan", "4294967296", "3000"}, "number of a fan"},
      {{"fan", "2", "auto"}, "there are fans 0 to 1"},
      {{"fan", "0", "fast"}, "auto or a speed from 0 to 65535"},
      {{"fan", "0", "-5"}, "auto or a speed from 0 to 65535"},
      {{"fan", "0", "65536"}, "auto or a speed from 0 to 65535"},
      {{"fan", "0", "3000.5"}, "auto or a speed from 0 to 65535"},
      {{"fan", "0", ""}, "auto or a speed from 0 to 65535"},
      {{"fan", "0", "65536", "--force"}, "auto or a speed from 0 to 65535"},
      {{"fan", "0", "100"}, "--force"},
      {{"fan", "0", "9000"}, "--force"},
      {{"fan", "0", "3000", "--leave"}, "--leave"},
      {{"fan", "0", "auto", "--leave"}, "--leave"},
      {{"fan", "0", "auto", "--force"}, "--force"},
      {{"fan", "0", "3000", "--json"}, "--json"},
  };
  for (const Refusal& row : rows) {
    const ProgramRun run = halvarinRun(simulated(row.words));
    SCOPED_TRACE(testing::PrintToString(row.words));
    EXPECT_EQ(run.exit, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr(row.says));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  }
}

TEST(Fan, ForceGoesBeyondTheRangeButNotBeyondTheKey) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys));
  EXPECT_EQ(halvarinRun(machine.words({"fan", "0", "16383", "--leave"})).exit, 2);
  const ProgramRun beyond = halvarinRun(machine.words({"fan", "0", "16384", "--force", "--leave"}));
  EXPECT_EQ(beyond.exit, 2);
  EXPECT_THAT(beyond.err, HasSubstr("16383 RPM at most"));
  EXPECT_THAT(machine.writes(), IsEmpty());
  EXPECT_EQ(halvarinRun(machine.words({"fan", "0", "16383", "--force", "--leave"})).exit, 0);
  EXPECT_EQ(machine.number("F0Tg", 2), 0xFFFCU);
}

TEST(Fan, LeaveOnARecordedMachineIsAUsageError) {
  const ProgramRun run =
      halvarinRun({"--machine", machineFile("healthy.txt"), "fan", "0", "3000", "--leave"});
  EXPECT_EQ(run.exit, 2);
  EXPECT_THAT(run.err, HasSubstr("--leave"));
}

TEST(Fan, NotPermittedEndsWithExit5AndNothingForced) {
  for (const char* faulty : {"F0Md", "F0Tg", "FNum"}) {
    const ProgramRun run = halvarinRun(
        simulated({"--fault", std::string(faulty) + "=error:e00002c1", "fan", "0", "4000"}));
    EXPECT_EQ(run.exit, 5) << faulty;
    EXPECT_THAT(run.err, HasSubstr("e00002c1")) << faulty;
  }
  EXPECT_EQ(halvarinRun(simulated({"--fault", "Ftst=error:e00002c1", "fan", "0", "4000"},
                                  ":MacBookPro18,1"))
                .exit,
            5);
  EXPECT_EQ(halvarinRun(simulated({"--fault", "F0Md=error:e00002c1", "fan", "0", "auto"})).exit, 5);
}

TEST(Fan, AnotherFailureEndsWithExit6AndItsStatus) {
  const ProgramRun run =
      halvarinRun(simulated({"--fault", "F0Md=error:e00002c2", "fan", "0", "4000"}));
  EXPECT_EQ(run.exit, 6);
  EXPECT_THAT(run.err, HasSubstr("could not be forced (status e00002c2)"));
}

TEST(Fan, AMachineThatGoesAwayEndsTheHoldWithExit3) {
  const ProgramRun run = halvarinRun(simulated({"--fault", "vanish:2100", "fan", "0", "4000"}));
  EXPECT_EQ(run.exit, 3);
  EXPECT_THAT(run.err, HasSubstr("e00002c0"));
}

TEST(Fan, AFanWithoutKeysToForceItIsRefusedBeforeAnythingIsTouched) {
  ServedMachine machine(
      machineWith({key("F0Ac", "fpe2", {0x1F, 0x40}), key("FNum", "ui8 ", {1})}, "MacBookPro16,1"));
  for (const char* what : {"4000", "auto"}) {
    const ProgramRun run = halvarinRun(machine.words({"fan", "0", what}));
    EXPECT_EQ(run.exit, 2);
    EXPECT_THAT(run.err, HasSubstr("Fan 0"));
  }
  EXPECT_THAT(machine.writes(), IsEmpty());
}

}  // namespace
}  // namespace halvarin::test
