// The fan self-test of a machine that does not always let the fans' keys be read: no verdict and no
// command rests on a key that was not.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/FileBytes.h"
#include "tests/support/FanMachines.h"
#include "tests/support/ProgramJournal.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/RootedLogs.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/ServedMachine.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Until.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr auto kMost = 30s;  // until a program on a busy computer has come so far
constexpr std::uint8_t kRead = 5;
constexpr std::uint8_t kKeyInfo = 9;
constexpr auto kBusy = static_cast<platform::MachineStatus>(0xE00002D5);

/// `test fans` with its logs in a folder of the test's own.
class UnreadFan : public testing::Test {
 protected:
  const RootedLogs logs_;
};

TEST_F(UnreadFan, IsNotTestedWithoutItsRange) {
  for (const std::string key : {"F0Mn", "F0Mx"}) {
    const std::string journal = logs_.file("journal");
    const ProgramRun run =
        runProgram(HALVARIN_ROOTED, {"--machine", "simulated", "--clock", "400", "--journal",
                                     journal, "--fault", key + "=error:e00002c2", "test", "fans"});
    EXPECT_EQ(run.exit, 6) << run.out;
    EXPECT_EQ(run.err, "halvarin: the range of Fan 0 (Left) cannot be read (status e00002c2)\n");
    EXPECT_THAT(run.out, Not(HasSubstr("Passed")));
    EXPECT_THAT(writesIn(journal), IsEmpty());
  }
}

TEST_F(UnreadFan, IsNoReasonNotToTestTheOthers) {
  const ProgramRun run =
      runProgram(HALVARIN_ROOTED, {"--machine", "simulated", "--clock", "100", "--fault",
                                   "F0Mx=error:e00002c2", "test", "fans", "--fan", "1"});
  EXPECT_EQ(run.exit, 0) << run.err;
}

TEST_F(UnreadFan, IsNotTestedWhenTheControllerRefusesItsRangeWithoutAStatus) {
  const std::string file =
      machineFile("fans-mode-key.txt").substr(std::string_view("file:").size());
  for (const std::string limit : {"12C0", "5DC0"}) {
    std::string text = fileBytes(file).value_or("");
    ASSERT_NE(text.find(limit), std::string::npos);
    text.replace(text.find(limit), limit.size(), "NOT READABLE, code 85");
    const TemporaryFolder folder;
    folder.write("machine.txt", text);
    const std::string journal = folder.file("journal");
    const ProgramRun run =
        runProgram(HALVARIN_ROOTED, {"--machine", "file:" + folder.file("machine.txt"), "--clock",
                                     "400", "--journal", journal, "test", "fans"});
    EXPECT_EQ(run.exit, 6) << limit << run.out;
    EXPECT_THAT(run.err,
                HasSubstr("halvarin: Fan 0 (Left side) states no range, so it cannot be tested\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("Passed"))) << limit;
    EXPECT_THAT(writesIn(journal), IsEmpty()) << limit;
  }
}

TEST_F(UnreadFan, IsNotTestedWhenTheControllerNeverDescribesItsHighestSpeed) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys), {}, 50);
  machine.breakable().breakKey("F1Mx", kKeyInfo, static_cast<platform::MachineStatus>(0xE00002CA));
  const ProgramRun run = runProgram(HALVARIN_ROOTED, machine.words({"test", "fans"}));
  EXPECT_EQ(run.exit, 6) << run.out;
  EXPECT_THAT(run.err, HasSubstr("Fan 1 states no range, so it cannot be tested"));
  EXPECT_THAT(run.out, Not(HasSubstr("Passed")));
  EXPECT_THAT(machine.writes(), IsEmpty());
  EXPECT_EQ(runProgram(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0"})).exit, 0);
}

TEST_F(UnreadFan, IsNotTestedOnAMachineWithoutAKeyForALimit) {
  for (const std::string limit : {"F0Mn", "F0Mx"}) {
    platform::RecordedMachine recorded = fanMachine(FanStyle::forceBits);
    const auto code = key(limit, "fpe2", {}).code;
    std::erase_if(recorded.keys, [&code](const auto& each) { return each.code == code; });
    ServedMachine machine(std::move(recorded), {}, 50);
    const ProgramRun run = runProgram(HALVARIN_ROOTED, machine.words({"test", "fans"}));
    EXPECT_EQ(run.exit, 6) << limit << run.out;
    EXPECT_THAT(run.err, HasSubstr("Fan 0 states no range, so it cannot be tested")) << limit;
    EXPECT_THAT(machine.writes(), IsEmpty()) << limit;
  }
}

TEST_F(UnreadFan, IsNotOneWhoseLeastSpeedIsToStandStill) {
  platform::RecordedMachine recorded = fanMachine(FanStyle::modeKeys);
  const auto code = key("F0Mn", "fpe2", {}).code;
  for (platform::RecordedKey& each : recorded.keys) {
    each.bytes = each.code == code ? std::vector<std::uint8_t>{0, 0} : each.bytes;
  }
  ServedMachine machine(std::move(recorded), {}, 50);
  const ProgramRun run = runProgram(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0"}));
  EXPECT_EQ(run.exit, 0) << run.out << run.err;
}

TEST_F(UnreadFan, EndsTheTestWithTheReasonAndIsHandedBack) {
  for (const std::string key : {"F0Ac", "F0Tg", "F0Mn", "F0Mx"}) {
    ServedMachine machine(fanMachine(FanStyle::modeKeys));
    RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0"}));
    ASSERT_TRUE(program.waitForOutput("rah_max", kMost));
    machine.breakable().breakKey(key, kRead, kBusy);
    const auto run = program.waitForEnd(kMost);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->exit, 6) << key << run->out << run->err;
    EXPECT_THAT(run->out, Not(HasSubstr("Fan self-test:"))) << key;
    EXPECT_THAT(run->err, HasSubstr(key + " of Fan 0 cannot be read any more (status e00002d5), so "
                                          "the fan self-test was canceled"));
    EXPECT_EQ(machine.number("F0Md", 1), 0U) << key;
    EXPECT_THAT(machine.writes(), Not(Contains("write F0Tg size 2 bytes 0000 -> done"))) << key;
  }
}

TEST_F(UnreadFan, CanBeCanceled) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys), {}, 2);
  RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0"}));
  ASSERT_TRUE(program.waitForOutput("rah_max", kMost));
  machine.breakable().breakKey("F0Mx", kRead, kBusy);
  const std::size_t before = machine.readCount("FNum");
  ASSERT_TRUE(becomesTrue(kMost, [&] { return machine.readCount("FNum") > before + 2; }));
  program.signal(SIGINT);
  const auto run = program.waitForEnd(3s);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 4) << run->err;
  EXPECT_EQ(machine.number("F0Md", 1), 0U);
  EXPECT_THAT(machine.writes(), Not(Contains("write F0Tg size 2 bytes 0000 -> done")));
}

TEST_F(UnreadFan, ThatIsReadAgainSoonIsJudgedByWhatWasRead) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys));
  RunningProgram program(HALVARIN_ROOTED, machine.words({"test", "fans", "--fan", "0", "--json"}));
  ASSERT_TRUE(program.waitForOutput("rah_min", kMost));
  machine.breakable().breakKey("F0Ac", kRead, kBusy);
  const std::size_t before = machine.readCount("FNum");
  ASSERT_TRUE(becomesTrue(kMost, [&] { return machine.readCount("FNum") > before + 4; }));
  machine.breakable().mend();
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 0) << run->err;
  const auto fan = nlohmann::json::parse(run->out)["fanTestResults"][0];
  EXPECT_EQ(fan["status"], "Passed");
  EXPECT_GT(fan["lowestSpeed"], 1000);
  EXPECT_THAT(fileBytes(logs_.file("Library/Logs/QRB/fantest.log")).value_or(""),
              HasSubstr("exception: F0Ac cannot be read (status e00002d5)"));
}

}  // namespace
}  // namespace halvarin::test
