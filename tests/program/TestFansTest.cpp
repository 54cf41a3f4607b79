#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "base/FileBytes.h"
#include "tests/support/FanMachines.h"
#include "tests/support/ProgramJournal.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/RootedLogs.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/ServedMachine.h"
#include "tests/support/Until.h"

namespace halvarin::test {
namespace {

using nlohmann::json;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Words = std::vector<std::string>;

// How much faster a machine runs that is tested to the end. Not more: two tests on a machine with a
// test flag must not drift so far apart that one switches it off while the other's fan is forced.
constexpr int kWholeRun = 50;

/// `test fans` with its logs in a folder of the test's own.
class TestFans : public testing::Test {
 protected:
  [[nodiscard]] static ProgramRun run(const std::string& machine, const Words& words = {},
                                      const std::string& clock = "100") {
    Words all{"--machine", machine, "--clock", clock};
    all.insert(all.end(), words.begin(), words.end());
    return runProgram(HALVARIN_ROOTED, all);
  }
  [[nodiscard]] std::string logFile(const std::string& name) const {
    return logs_.file("Library/Logs/QRB/" + name);
  }
  /// The files of samples, by name without the time.
  [[nodiscard]] std::set<std::string> csvNames() const {
    constexpr std::size_t kTime = 14;  // "2611211715.csv"
    std::set<std::string> names;
    std::error_code none;
    for (const auto& file : std::filesystem::directory_iterator(logFile("fantest_csv"), none)) {
      const std::string name = file.path().filename();
      names.insert(name.substr(0, name.size() - kTime));
    }
    return names;
  }

  const RootedLogs logs_;
};

// ---- healthy machines --------------------------------------------------------------------------

TEST_F(TestFans, HealthyMachineIsPassedWithALineForEachFan) {
  const ProgramRun result = run("simulated", {"test", "fans"});
  EXPECT_EQ(result.exit, 0) << result.err;
  const auto lines = linesOf(result.out);
  ASSERT_EQ(lines.size(), 7U) << result.out;
  EXPECT_EQ(lines[0], "Machine: MacBookPro16,1 (simulated), AC Power");
  EXPECT_THAT(lines[2], StartsWith("  Fan "));
  EXPECT_THAT(lines[3],
              testing::MatchesRegex("  Fan 0 \\(Left\\) +[0-9]+ RPM +[0-9]+ RPM  Passed"));
  EXPECT_THAT(lines[4],
              testing::MatchesRegex("  Fan 1 \\(Right\\) +[0-9]+ RPM +[0-9]+ RPM  Passed"));
  EXPECT_EQ(lines[6], "Fan self-test: Passed, 2 fans");
}

TEST_F(TestFans, JsonHasWhatTheProgramSawBesideTheResults) {
  const ProgramRun result =
      run(machineFile("fans-force-bits.txt"), {"test", "fans", "--json", "--fan", "1"});
  const json value = json::parse(result.out);
  EXPECT_EQ(value["machine"]["kind"], "file");
  EXPECT_EQ(value["machine"]["model"], "Fan2,1");
  ASSERT_EQ(value["fanTestResults"].size(), 1U);
  const json fan = value["fanTestResults"][0];
  EXPECT_EQ(fan["index"], 1);
  EXPECT_EQ(fan["location"], "Right side  ");
  EXPECT_EQ(fan["status"], "Passed");
  EXPECT_NEAR(fan["lowestSpeed"].get<double>(), 1200, 100);
  EXPECT_NEAR(fan["highestSpeed"].get<double>(), 6000, 100);
}

TEST_F(TestFans, WritesNothingButWhatTheTestAsksForAndHandsEveryFanBack) {
  const std::string journal = logs_.file("journal");
  EXPECT_EQ(run(machineFile("fans-test-flag.txt"), {"--journal", journal, "test", "fans"}).exit, 0);
  EXPECT_THAT(writesIn(journal), ElementsAre("Ftst 01", "F0md 01", "F0Tg 0080BB45", "F0md 01",
                                             "F0Tg 00009644", "F0md 00", "Ftst 00", "F0md 00"));
}

TEST_F(TestFans, FansOfForceBitsAreHandedBackAfterTheResults) {
  const std::string journal = logs_.file("journal");
  EXPECT_EQ(
      run(machineFile("fans-force-bits.txt"), {"--journal", journal, "test", "fans", "--fan", "0"})
          .exit,
      0);
  const auto writes = writesIn(journal);
  ASSERT_EQ(writes.size(), 4U * 32 + 2);
  EXPECT_EQ(writes[0], "FS!  0001");
  EXPECT_EQ(writes[1], "F0Tg 5DC0");
  EXPECT_EQ(writes[4 * 32 - 1], "F0Tg 12C0");
  // Both tests are dropped, and each hands its fan back.
  EXPECT_EQ(writes[4 * 32], "FS!  0000");
  EXPECT_EQ(writes[4 * 32 + 1], "FS!  0000");
}

TEST_F(TestFans, StatesAreToldOnStandardErrorWhenPiped) {
  const ProgramRun result = run(machineFile("fans-mode-key.txt"), {"test", "fans"});
  Words states;
  for (const std::string& line : linesOf(result.err)) {
    const std::string begin = "halvarin: Fan 0 (Left side): ";
    if (line.rfind(begin, 0) == 0) {
      states.push_back(line.substr(begin.size(), line.find(',') - begin.size()));
      EXPECT_THAT(line, testing::MatchesRegex(".*, [0-9]+ RPM, target [0-9]+ RPM"));
    }
  }
  EXPECT_THAT(states, ElementsAre("init", "set_max", "wait_speed", "rah_max", "set_min", "rah_min",
                                  "automode", "animate_done"));
  EXPECT_THAT(result.out, Not(HasSubstr("rah_max")));
}

TEST_F(TestFans, TerminalShowsABarForEachFanInPlace) {
  RunningProgram program(
      HALVARIN_ROOTED, {"--machine", "simulated", "--clock", "20", "test", "fans"}, TerminalSize{});
  EXPECT_TRUE(program.waitForOutput("rah_max", seconds(30)));
  const auto result = program.waitForEnd(seconds(60));
  ASSERT_TRUE(result);
  EXPECT_EQ(result->exit, 0);
  EXPECT_THAT(result->out, HasSubstr("Fan 0 (Left)   [...................."));
  EXPECT_THAT(result->out, HasSubstr("Fan 1 (Right)  [####################] 100 %  Passed"));
  EXPECT_THAT(result->out, HasSubstr("\033[2A"));  // drawn over the lines before
  EXPECT_THAT(result->out, HasSubstr("Fan self-test: Passed, 2 fans"));
}

// ---- faults ------------------------------------------------------------------------------------

TEST_F(TestFans, FanThatDoesNotTurnTimesOutAndFailsTheMachine) {
  const ProgramRun result =
      run("simulated", {"--fault", "fan:1=stalled", "test", "fans", "--json"}, "400");
  EXPECT_EQ(result.exit, 1) << result.err;
  const json value = json::parse(result.out);
  EXPECT_EQ(value["status"], "Failed");
  EXPECT_EQ(value["fanTestResults"][0]["status"], "Passed");
  EXPECT_EQ(value["fanTestResults"][1]["status"], "Timeout");
  EXPECT_EQ(value["fanTestResults"][1]["highestSpeed"], 0);
}

TEST_F(TestFans, FanThatReachesHalfItsRangeFails) {
  const ProgramRun result = run("simulated", {"--fault", "fan:0=weak", "test", "fans"});
  EXPECT_EQ(result.exit, 1);
  EXPECT_THAT(result.out, HasSubstr("Failed"));
  EXPECT_THAT(result.out, HasSubstr("Fan self-test: Failed, 2 fans"));
}

TEST_F(TestFans, FansThatCannotBeReadAnyMoreEndTheTestWhicheverKeyIsTheFirstToFail) {
  constexpr int kTransfers = 5000;
  constexpr int kApart = 5;  // a look at the fans has several times as many
  for (int step = 0; step < 5; ++step) {
    const std::string fault = "vanish:" + std::to_string(kTransfers + step * kApart);
    const ProgramRun result = run("simulated", {"--fault", fault, "test", "fans"}, "400");
    EXPECT_EQ(result.exit, 3) << fault << result.out << result.err;
    EXPECT_THAT(result.err, HasSubstr("the fans cannot be read any more (status ")) << fault;
  }
}

// ---- selection ---------------------------------------------------------------------------------

TEST_F(TestFans, OnlyTheFansThatAreAskedForAreTested) {
  const ProgramRun result =
      run(machineFile("fans-five.txt"), {"test", "fans", "--json", "--fan", "3", "--fan", "1"});
  const json value = json::parse(result.out);
  ASSERT_EQ(value["fanTestResults"].size(), 2U);
  EXPECT_EQ(value["fanTestResults"][0]["index"], 1);
  EXPECT_EQ(value["fanTestResults"][1]["index"], 3);
}

TEST_F(TestFans, FanThatIsNotThereIsAUsageError) {
  const ProgramRun result = run("simulated", {"test", "fans", "--fan", "2"});
  EXPECT_EQ(result.exit, 2);
  EXPECT_EQ(result.err, "halvarin: there is no fan 2; there are fans 0 to 1\n");
  for (const char* wrong : {"-1", "x", "1.5", "", "4294967296"}) {
    const ProgramRun refused = run("simulated", {"test", "fans", "--fan", wrong});
    EXPECT_EQ(refused.exit, 2) << wrong;
    EXPECT_THAT(refused.err, HasSubstr("fan")) << wrong;
  }
}

TEST_F(TestFans, MachineWithoutFansIsPassedWithNothingTested) {
  const ProgramRun result = run(machineFile("fanless.txt"), {"test", "fans", "--json"});
  EXPECT_EQ(result.exit, 0);
  const json value = json::parse(result.out);
  EXPECT_EQ(value["status"], "Passed");
  EXPECT_EQ(value["fanTestResults"], json::array());
  EXPECT_THAT(result.err, HasSubstr("halvarin: there was nothing to test"));
  const ProgramRun shown = run(machineFile("fanless.txt"), {"test", "fans"});
  EXPECT_THAT(shown.out, HasSubstr("Fan self-test: Passed, 0 fans: nothing was tested"));
}

// ---- cancel and release ------------------------------------------------------------------------

TEST_F(TestFans, CtrlCCancelsTheTestAndHandsTheFansBack) {
  ServedMachine machine(fanMachine(FanStyle::testFlag));
  RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans", "--json"}));
  ASSERT_TRUE(program.waitForOutput("rah_max", seconds(30)));
  EXPECT_EQ(machine.number("F0Md", 1), 1U);
  program.signal(SIGINT);
  const auto result = program.waitForEnd(seconds(30));
  ASSERT_TRUE(result);
  EXPECT_EQ(result->exit, 4) << result->err;
  const json value = json::parse(result->out);
  EXPECT_EQ(value["status"], "Canceled");
  EXPECT_EQ(value["fanTestResults"][0]["status"], "Canceled");
  EXPECT_EQ(machine.number("F0Md", 1), 0U);
  EXPECT_EQ(machine.number("F1md", 1), 0U);
  EXPECT_EQ(machine.number("Ftst", 1), 0U);
}

TEST_F(TestFans, GuardianHandsTheFansOfAKilledTestBack) {
  for (const FanStyle style : {FanStyle::forceBits, FanStyle::modeKeys, FanStyle::testFlag}) {
    ServedMachine machine(fanMachine(style));
    RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans"}));
    ASSERT_TRUE(program.waitForOutput("rah_max", seconds(30)));
    program.signal(SIGKILL);
    ASSERT_TRUE(program.waitForEnd(seconds(30)));
    const auto isReleased = [&] {
      return style == FanStyle::forceBits
                 ? machine.number("FS! ", 2) == 0
                 : machine.number("F0Md", 1) == 0 && machine.number("F1md", 1) == 0 &&
                       (style == FanStyle::modeKeys || machine.number("Ftst", 1) == 0);
    };
    EXPECT_TRUE(becomesTrue(seconds(2), isReleased)) << testing::PrintToString(style);
  }
}

TEST_F(TestFans, EveryFanIsAutomaticAfterAHealthyTestOfEachStyle) {
  for (const FanStyle style : {FanStyle::forceBits, FanStyle::modeKeys, FanStyle::testFlag}) {
    ServedMachine machine(fanMachine(style), {}, kWholeRun);
    const ProgramRun result = runProgram(HALVARIN_ROOTED, machine.words({"test", "fans"}));
    EXPECT_EQ(result.exit, 0) << result.out << result.err;
    EXPECT_EQ(machine.number("FS! ", 2), 0U);
    EXPECT_EQ(machine.number("F0Md", 1) + machine.number("F1md", 1), 0U);
    EXPECT_EQ(machine.number("Ftst", 1), 0U);
  }
}

TEST_F(TestFans, DeliberateTimedOutFanIsForcedUntilTheProgramHandsItBack) {
  platform::Simulation simulation;
  simulation.fanFaults = {{0, platform::FanFault::Kind::stalled}};
  ServedMachine machine(fanMachine(FanStyle::modeKeys), std::move(simulation), 400);
  const ProgramRun result =
      runProgram(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0"}));
  EXPECT_EQ(result.exit, 1);
  EXPECT_EQ(machine.number("F0Md", 1), 0U);
}

TEST_F(TestFans, FanThatSomebodyElseForcesIsTakenOverWithAWord) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys), {}, kWholeRun);
  machine.write("F1md", 1, 1);
  const ProgramRun result = runProgram(HALVARIN_ROOTED, machine.words({"test", "fans"}));
  EXPECT_EQ(result.exit, 0) << result.out << result.err;
  EXPECT_THAT(result.err, HasSubstr("halvarin: Fan 1 is forced already; the test takes it over"));
  EXPECT_THAT(result.err, Not(HasSubstr("Fan 0 is forced already")));
  EXPECT_EQ(machine.number("F1md", 1), 0U);
}

TEST_F(TestFans, UserWithoutTheRightToCommandFansIsToldSo) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys));
  machine.breakable().breakKey("F0Md", 6, static_cast<std::int32_t>(0xE00002C1));
  const ProgramRun result =
      runProgram(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0"}));
  EXPECT_EQ(result.exit, 5) << result.out << result.err;
  EXPECT_THAT(result.err, HasSubstr("not permitted; run it as root"));
}

TEST_F(TestFans, UserWithoutThatRightIsToldSoOverFansThatSomebodyElseForces) {
  const Words keys{"F0Md", "F0Tg", "F1md", "F1Tg"};
  for (const Words& command : {Words{"test", "fans"}, Words{"test", "fans", "--fan", "1"}}) {
    ServedMachine machine(fanMachine(FanStyle::modeKeys));
    machine.write("F1md", 1, 1);
    for (const std::string& key : keys) {
      machine.breakable().breakKey(key, 6, static_cast<std::int32_t>(0xE00002C1));
    }
    const ProgramRun result = runProgram(HALVARIN_ROOTED, machine.words(command));
    EXPECT_EQ(result.exit, 5) << result.out << result.err;
    EXPECT_THAT(result.err, HasSubstr("not permitted; run it as root"));
    EXPECT_THAT(result.out, Not(HasSubstr("Fan self-test:")));
    EXPECT_EQ(machine.number("F1md", 1), 1U);
  }
}

TEST_F(TestFans, ForcedFanOfAnotherIsNoSignThatTheOthersObeyThisUser) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys));
  machine.write("F1md", 1, 1);
  machine.breakable().breakKey("F0Md", 6, static_cast<std::int32_t>(0xE00002C1));
  const ProgramRun result = runProgram(HALVARIN_ROOTED, machine.words({"test", "fans"}));
  EXPECT_EQ(result.exit, 5) << result.out << result.err;
  EXPECT_THAT(result.err, HasSubstr("Fan 0 could not be forced (status e00002c1): not permitted"));
}

// ---- files -------------------------------------------------------------------------------------

TEST_F(TestFans, SamplesAreWrittenAndSaidWhereTheyAre) {
  const ProgramRun result = run(machineFile("fans-mode-key.txt"), {"test", "fans", "--csv", "me"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(csvNames(), ElementsAre("left side  _Fan3,1_me_"));
  const std::string said = "The samples of Fan 0 (Left side) are in ";
  const auto lines = linesOf(result.out);
  const auto line = std::find_if(lines.begin(), lines.end(),
                                 [&](const std::string& each) { return each.rfind(said, 0) == 0; });
  ASSERT_NE(line, lines.end()) << result.out;
  const auto samples = linesOf(fileBytes(line->substr(said.size())).value_or(""));
  ASSERT_GT(samples.size(), 100U);
  EXPECT_EQ(samples[0], "sample,state,mode,target,speed,min,max,temp");
  // The database does not know the machine, so no reading is its hottest.
  EXPECT_EQ(samples[1], "0,init,0,2000,2000,1200,6000,0");
  EXPECT_THAT(samples[4], StartsWith("3,wait_speed,1,6000,"));
  EXPECT_THAT(samples.back(), StartsWith(std::to_string(samples.size() - 2) + ",animate_done,0,"));
}

TEST_F(TestFans, TwoFansOfOneNameKeepTheirSamples) {
  const ProgramRun result =
      run(machineFile("fans-five.txt"), {"test", "fans", "--json", "--csv", "me"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_TRUE(json::accept(result.out));
  EXPECT_THAT(csvNames(), ElementsAre("cpu_Fan6,1_me_", "disk_Fan6,1_me-fan3_", "disk_Fan6,1_me_",
                                      "gpu_Fan6,1_me_", "power_Fan6,1_me_"));
  EXPECT_THAT(result.err, HasSubstr("The samples of Fan 3 (Disk) are in "));
}

TEST_F(TestFans, FilesThatCannotBeWrittenAreSaidAndTheVerdictStands) {
  std::ofstream(logs_.file("Library")) << "a file in the folder's place";
  const ProgramRun result = run(machineFile("fans-mode-key.txt"), {"test", "fans", "--csv", "me"});
  EXPECT_EQ(result.exit, 0);
  EXPECT_THAT(result.err,
              HasSubstr("halvarin: the samples of Fan 0 (Left side) could not be written to "
                        "/Library/Logs/QRB/fantest_csv"));
  EXPECT_THAT(result.out, HasSubstr("Fan self-test: Passed, 1 fan"));
}

TEST_F(TestFans, WithoutAskingNoSamplesAreWritten) {
  EXPECT_EQ(run(machineFile("fans-mode-key.txt"), {"test", "fans"}).exit, 0);
  EXPECT_THAT(csvNames(), IsEmpty());
  EXPECT_THAT(fileBytes(logFile("fantest.log")).value_or(""), HasSubstr("status: Passed"));
}

TEST_F(TestFans, NameForFilesMustBeOne) {
  for (const std::string& wrong : {std::string(), std::string("a/b"), std::string(65, 'a')}) {
    const ProgramRun result = run("simulated", {"test", "fans", "--csv", wrong});
    EXPECT_EQ(result.exit, 2) << wrong;
    EXPECT_THAT(result.err, HasSubstr("--csv takes a name")) << wrong;
  }
}

}  // namespace
}  // namespace halvarin::test
