// The program on a Mac that runs Linux: a scripted driver, plain trees, and no driver at all.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <variant>

#include "tests/support/AppleSiliconTree.h"
#include "tests/support/Machines.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/ScriptedDriver.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

/// A folder that the program takes for the computer.
class Computer : public testing::Test {
 protected:
  Computer() { setenv("HALVARIN_TEST_COMPUTER", folder_.path().c_str(), 1); }

  static ProgramRun run(const std::vector<std::string>& words) {
    return runProgram(HALVARIN_ROOTED, words);
  }
  void layOut(const DriverScript& script = {}) {
    auto machine = std::get<platform::RecordedMachine>(
        platform::readMachineFile(machineFile("healthy.txt").substr(5)));
    platform::RecordedKey closed = key("MSSP", "ui8 ", {0});
    closed.result = platform::kResultNotReadable;
    closed.bytes.clear();
    machine.keys.push_back(closed);
    ScriptedDriver::layOut(folder_.path(), machine, script);
  }

  const TemporaryFolder folder_;
};

TEST_F(Computer, WithoutADriverEndsWithExit3AndALineThatNamesWhatElseThereIs) {
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {"--machine", "this", "sensors"}, {"sensors"}, {}, {"fan", "0", "2500"}}) {
    const ProgramRun ended = run(words);
    EXPECT_EQ(ended.exit, 3);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.err, HasSubstr("this computer has no System Management Controller"));
    EXPECT_THAT(ended.err, HasSubstr("--machine simulated"));
  }
}

TEST_F(Computer, ListsItsSensorsThroughTheDriver) {
  layOut();
  const ProgramRun listed = run({"--machine", "this", "sensors"});
  EXPECT_EQ(listed.exit, 0) << listed.err;
  EXPECT_THAT(listed.out, HasSubstr("Machine: MacBookPro15,1, AC Power"));
  EXPECT_THAT(listed.out, HasSubstr("TC0P"));
  EXPECT_THAT(listed.out, HasSubstr("47.75"));
}

TEST_F(Computer, ListsTheSameSensorsAsTheRecordedMachine) {
  layOut();
  const json here = json::parse(run({"sensors", "--json"}).out);
  const json recorded =
      json::parse(run({"--machine", machineFile("healthy.txt"), "sensors", "--json"}).out);
  EXPECT_EQ(here["machine"]["kind"], "this");
  EXPECT_EQ(here["machine"]["model"], recorded["machine"]["model"]);
  const auto rowOf = [](const json& sensors) {
    std::vector<std::string> rows;
    for (const json& each : sensors["sensors"]) {
      rows.push_back(each["key"].get<std::string>() + " " + each["dataType"].get<std::string>() +
                     " " + each["value"].dump());
    }
    return rows;
  };
  ASSERT_FALSE(here["sensors"].empty());
  EXPECT_EQ(rowOf(here), rowOf(recorded));
}

TEST_F(Computer, DumpsAKeyThatTheControllerRefusesAsOne) {
  layOut();
  const ProgramRun dumped = run({"keys", "--dump"});
  EXPECT_EQ(dumped.exit, 0) << dumped.err;
  const auto parsed = platform::parseMachineFile(dumped.out, "dump");
  const auto* const machine = std::get_if<platform::RecordedMachine>(&parsed);
  ASSERT_NE(machine, nullptr);
  const auto isRefused = [](const platform::RecordedKey& each) { return each.result != 0; };
  const auto refused = std::find_if(machine->keys.begin(), machine->keys.end(), isRefused);
  ASSERT_NE(refused, machine->keys.end());
  EXPECT_EQ(refused->code, platform::fourBytes("MSSP"));
  EXPECT_EQ(refused->result, platform::kResultNotReadable);
  EXPECT_EQ(std::count_if(machine->keys.begin(), machine->keys.end(), isRefused), 1);
}

TEST_F(Computer, ListsItsFans) {
  for (const auto names : {DriverScript::Names::older, DriverScript::Names::newer}) {
    DriverScript script;
    script.names = names;
    std::filesystem::remove_all(folder_.path() / "root");
    layOut(script);
    const ProgramRun listed = run({"fans", "--json"});
    EXPECT_EQ(listed.exit, 0) << listed.err;
    const json fans = json::parse(listed.out);
    ASSERT_EQ(fans.size(), 2U);
    EXPECT_EQ(fans[0]["target"], 2160);
    EXPECT_EQ(fans[1]["target"], 2000);
    EXPECT_EQ(fans[0]["mode"], 0);
  }
}

TEST_F(Computer, EndsWithExit5WhereThisUserMayNotAskForKeys) {
  DriverScript script;
  script.denied = {"key_at_index"};
  layOut(script);
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"sensors"},
                                             {"fans"},
                                             {},
                                             {"keys"},
                                             {"keys", "--dump"},
                                             {"fan", "0", "2500"},
                                             {"test", "sensors"}}) {
    const ProgramRun ended = run(words);
    EXPECT_EQ(ended.exit, 5);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.err, HasSubstr("not permitted"));
    EXPECT_THAT(ended.err, HasSubstr("docs/platforms.md"));
  }
}

TEST_F(Computer, WithAppleSiliconListsWhatItsDriverShows) {
  layOutAppleSilicon(folder_);
  const ProgramRun listed = run({"sensors", "--all-keys", "--json"});
  EXPECT_EQ(listed.exit, 0) << listed.err;
  const json sensors = json::parse(listed.out);
  EXPECT_EQ(sensors["machine"]["model"], "MacBookPro17,1");
  EXPECT_EQ(sensors["machine"]["powerSource"], "Battery Power");
  EXPECT_EQ(sensors["sensors"].size(), 12U);
  EXPECT_THAT(listed.out, HasSubstr("41.25"));
  const json fan = json::parse(run({"fans", "--json"}).out)[0];
  EXPECT_EQ(fan["speed"], 1499);
  EXPECT_EQ(fan["min"], 1200);
  EXPECT_EQ(fan["max"], 7200);
}

TEST(ShippedProgram, HasNoDoorToAnotherComputersFiles) {
  // The variable is for the program's twin alone.
  const TemporaryFolder folder;
  ScriptedDriver::layOut(folder.path(), machineWith({}, "Door1,1"));
  setenv("HALVARIN_TEST_COMPUTER", folder.path().c_str(), 1);
  EXPECT_THAT(halvarinRun({"keys", "--dump"}).out, Not(HasSubstr("Door1,1")));
}

}  // namespace
}  // namespace halvarin::test
