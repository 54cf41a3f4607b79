// The sensor self-test as a command.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "tests/support/Machines.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/ServedMachine.h"
#include "tests/support/Until.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;

constexpr auto kMost = 20s;

TEST(TestSensorsGolden, PassesOnTheBuiltInLaptop) {
  const ProgramRun run = halvarinRun({"--machine", "simulated", "--clock", "0", "test", "sensors"});
  EXPECT_EQ(run.exit, 0) << run.err;
  expectGolden("test-sensors-laptop.txt", run.out);
}

TEST(TestSensors, FailsWithExit1AndNamesWhatFailed) {
  const ProgramRun run = halvarinRun(
      {"--machine", "simulated", "--clock", "0", "--fault", "TC0P=125", "test", "sensors"});
  EXPECT_EQ(run.exit, 1);
  EXPECT_THAT(run.out, HasSubstr(": 125.00 °C, 257.00 °F\n"));
  EXPECT_THAT(run.out, testing::ContainsRegex("\nfailed\n.*\n  TC0P .*too high\n"));
  EXPECT_THAT(run.out, testing::ContainsRegex("Sensor self-test: Failed, [0-9]+ readings\n$"));
}

TEST(TestSensors, JsonHasMachineStatusAndLines) {
  const ProgramRun run =
      halvarinRun({"--machine", "simulated", "--clock", "0", "test", "sensors", "--json"});
  EXPECT_EQ(run.exit, 0);
  const auto test = nlohmann::ordered_json::parse(run.out);
  EXPECT_EQ(test.size(), 3U);
  EXPECT_EQ(test["machine"]["model"], "MacBookPro16,1");
  EXPECT_EQ(test["status"], "Passed");
  EXPECT_GT(test["lines"].size(), 50U);
  EXPECT_THAT(test["lines"][0].get<std::string>(), EndsWith(" °F"));
}

TEST(TestSensors, CtrlCCancelsWithExit4) {
  platform::Simulation slow;
  slow.latency = 100ms * ServedMachine::kFactor;
  ServedMachine machine(
      machineWith({key("FNum", "ui8 ", {0}), key("TC0P", "sp78", {0x2D, 0})}, "MacBookPro16,1"),
      slow);
  RunningProgram program(HALVARIN_PROGRAM, machine.words({"test", "sensors", "--json"}));
  // The start reads each key once, and the pass reads temperatures first.
  ASSERT_TRUE(becomesTrue(kMost, [&] { return machine.readCount("TC0P") == 2; }));
  program.signal(SIGINT);
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 4) << run->err;
  const auto test = nlohmann::json::parse(run->out);
  EXPECT_EQ(test["status"], "Canceled");
  EXPECT_TRUE(test["lines"].empty());
}

TEST(TestSensors, AModelThatTheDatabaseDoesNotKnowPassesWithNothingTested) {
  const ProgramRun run =
      halvarinRun({"--machine", machineFile("fans-mode-key.txt"), "test", "sensors"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.out, EndsWith("Sensor self-test: Passed, 0 readings: nothing was tested\n"));
  EXPECT_THAT(run.err, HasSubstr("does not know the model"));
}

TEST(TestSensors, OtherTestsAreRefused) {
  EXPECT_EQ(halvarinRun({"--machine", "simulated", "test"}).exit, 2);
  const ProgramRun run = halvarinRun({"--machine", "simulated", "test", "screens"});
  EXPECT_EQ(run.exit, 2);
  EXPECT_THAT(run.err, HasSubstr("sensors"));
}

TEST(TestSensors, OptionsOfTheMachineMayFollowTheCommand) {
  const ProgramRun run = halvarinRun({"test", "sensors", "--machine", "simulated", "--fault",
                                      "TC0P=error:e00002c2", "--clock", "0"});
  // A sensor that never was read never was judged.
  EXPECT_EQ(run.exit, 1);
  EXPECT_THAT(run.out, HasSubstr("error e00002c2"));
}

TEST(TestSensors, ControllerThatGoesAwayWhileItsKeysAreListedPassesNothing) {
  for (const char* fault : {"vanish:1", "vanish:2", "vanish:300", "vanish:902"}) {
    for (const char* test : {"sensors", "fans"}) {
      const ProgramRun run =
          runProgram(HALVARIN_ROOTED, {"--machine", "simulated", "--fault", fault, "test", test});
      EXPECT_EQ(run.exit, 3) << fault << " " << test << " " << run.out;
      EXPECT_THAT(run.err, HasSubstr("the machine's controller has gone away")) << fault;
    }
  }
}

}  // namespace
}  // namespace halvarin::test
