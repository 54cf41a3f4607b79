// The list of fans, once and again and again.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/support/ProgramRun.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/SharedData.h"
#include "tests/support/Until.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr auto kMost = 20s;

std::vector<std::string> laptop(std::vector<std::string> command) {
  std::vector<std::string> words{"--machine", "simulated", "--clock", "0"};
  words.insert(words.end(), command.begin(), command.end());
  return words;
}

TEST(FansGolden, OfTheBuiltInLaptop) {
  const ProgramRun run = halvarinRun(laptop({"fans"}));
  EXPECT_EQ(run.exit, 0) << run.err;
  expectGolden("fans-laptop.txt", run.out);
}

TEST(FansGolden, OfTheBuiltInLaptopAsJson) {
  const ProgramRun run = halvarinRun(laptop({"fans", "--json"}));
  EXPECT_EQ(run.exit, 0) << run.err;
  expectGolden("fans-laptop.json", run.out);
}

TEST(Fans, JsonIsAListOfTheNineEntriesInOrder) {
  const auto fans = nlohmann::ordered_json::parse(halvarinRun(laptop({"fans", "--json"})).out);
  ASSERT_EQ(fans.size(), 2U);
  for (const auto& fan : fans) {
    std::vector<std::string> names;
    for (const auto& [name, value] : fan.items()) {
      names.push_back(name);
    }
    EXPECT_THAT(names, ElementsAre("index", "enabled", "mode", "speed", "target", "min", "max",
                                   "temp", "location"));
  }
  EXPECT_EQ(fans[1]["index"], 1);
}

TEST(Fans, AMachineWithoutFansSaysSo) {
  const ProgramRun run = halvarinRun({"--machine", machineFile("fanless.txt"), "fans"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.out, HasSubstr("This machine has no fans.\n"));
  const ProgramRun json = halvarinRun({"--machine", machineFile("fanless.txt"), "fans", "--json"});
  EXPECT_EQ(json.exit, 0);
  EXPECT_EQ(json.out, "[]\n");
}

TEST(Fans, TheFanlessLaptopAmongTheRecordedOnesHasNone) {
  if (recordedModels().empty()) {
    GTEST_SKIP() << "no recorded machines in " << sharedData() / "dumps";
  }
  const ProgramRun run =
      halvarinRun({"--machine", "file:" + dumpPath("MacBook10,1"), "fans", "--json"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_EQ(run.out, "[]\n");
}

TEST(Fans, ACountThatCannotBeReadIsNoMachineWithoutFans) {
  for (const bool json : {false, true}) {
    std::vector<std::string> words = laptop({"--fault", "FNum=error:e00002c1", "fans"});
    if (json) {
      words.push_back("--json");
    }
    const ProgramRun run = halvarinRun(words);
    EXPECT_EQ(run.exit, 5);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("the number of fans cannot be read (status e00002c1)"));
  }
}

TEST(Fans, ARangeThatCannotBeReadIsNotBlamedOnTheRequest) {
  const ProgramRun run =
      halvarinRun(laptop({"--fault", "F0Mx=error:e00002c1", "fan", "0", "3000"}));
  EXPECT_EQ(run.exit, 5);
  EXPECT_THAT(run.err, HasSubstr("the range of Fan 0 (Left) cannot be read (status e00002c1)"));
}

TEST(Fans, ASpeedThatCannotBeReadIsZero) {
  const auto fans = nlohmann::json::parse(
      halvarinRun(laptop({"--fault", "F0Ac=error:e00002c2", "fans", "--json"})).out);
  EXPECT_EQ(fans[0]["speed"], 0.0);
  EXPECT_GT(fans[1]["speed"], 0.0);
}

/// How often a program has shown a text so far.
std::size_t rowsOf(RunningProgram& program, const std::string& text) {
  const std::string out = program.soFar().out;
  std::size_t rows = 0;
  for (std::size_t at = out.find(text); at != std::string::npos; at = out.find(text, at + 1)) {
    ++rows;
  }
  return rows;
}

TEST(FansWatch, AppendsRowsWithTheirSecondsToAPipe) {
  RunningProgram program(HALVARIN_PROGRAM,
                         {"--machine", "simulated", "--clock", "20", "fans", "--watch=0.5"});
  ASSERT_TRUE(becomesTrue(kMost, [&] { return rowsOf(program, "Left") >= 4; }));
  program.signal(SIGINT);
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 0);
  EXPECT_EQ(run->err, "");
  EXPECT_THAT(run->out, StartsWith("Machine: MacBookPro16,1 (simulated), AC Power\n"));
  EXPECT_EQ(run->out.find("Seconds"), run->out.rfind("Seconds"));
  EXPECT_EQ(run->out.find('\033'), std::string::npos);
}

TEST(FansWatch, DrawsInPlaceOnATerminal) {
  RunningProgram program(HALVARIN_PROGRAM, {"--machine", "simulated", "fans", "--watch=0.1"},
                         {24, 100});
  ASSERT_TRUE(program.waitForOutput("\033[6A\r", kMost)) << program.soFar().out;
  program.type("\x03");
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 0);
}

TEST(FansWatch, TakesSecondsFromATenthToAnHour) {
  for (const char* option :
       {"--watch=0", "--watch=0.01", "--watch=3601", "--watch=x", "--watch="}) {
    const ProgramRun run = halvarinRun({"--machine", "simulated", "fans", option});
    EXPECT_EQ(run.exit, 2) << option;
    EXPECT_THAT(run.err, HasSubstr("--watch")) << option;
  }
}

TEST(FansWatch, GoesWithoutJsonAndWithAClockThatRuns) {
  EXPECT_EQ(halvarinRun({"--machine", "simulated", "fans", "--watch", "--json"}).exit, 2);
  const ProgramRun run = halvarinRun(laptop({"fans", "--watch"}));
  EXPECT_EQ(run.exit, 2);
  EXPECT_THAT(run.err, HasSubstr("--clock 0"));
}

TEST(SensorsWatch, FollowsOneCategory) {
  RunningProgram program(HALVARIN_PROGRAM, {"--machine", "simulated", "--clock", "50", "sensors",
                                            "temperature", "--watch"});
  ASSERT_TRUE(becomesTrue(kMost, [&] { return rowsOf(program, "  TC0P") >= 3; }));
  program.signal(SIGTERM);
  EXPECT_EQ(program.waitForEnd(kMost)->exit, 0);
}

TEST(SensorsWatch, EndsWhenNobodyReadsItsOutput) {
  const std::string command = std::string("'") + HALVARIN_PROGRAM +
                              "' --machine simulated --clock 1000 sensors --watch | head -n 3 "
                              ">/dev/null";
  EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 0);
}

}  // namespace
}  // namespace halvarin::test
