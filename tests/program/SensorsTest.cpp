#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/ProgramRun.h"

namespace halvarin::test {
namespace {

using nlohmann::ordered_json;
using testing::HasSubstr;
using testing::Not;

/// The JSON of a run that must succeed; the clock stands still, so that readings do not move.
ordered_json jsonOf(std::vector<std::string> words) {
  words.insert(words.begin(), {"--clock", "0"});
  words.emplace_back("--json");
  const ProgramRun run = halvarinRun(words);
  EXPECT_EQ(run.exit, 0) << run.err;
  return ordered_json::parse(run.out);
}

ordered_json record(const ordered_json& json, const std::string& key) {
  for (const auto& each : json.at("sensors")) {
    if (each.value("key", "") == key) {
      return each;
    }
  }
  ADD_FAILURE() << "no sensor " << key;
  return {};
}

// ---- kept outputs ------------------------------------------------------------------------------

TEST(SensorsGolden, BuiltInMachineAsATable) {
  const ProgramRun run = halvarinRun({"--machine", "simulated", "--clock", "0", "sensors"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_EQ(run.err, "");
  expectGolden("sensors-built-in.txt", run.out);
}

TEST(SensorsGolden, HealthyMachineAsJson) {
  const ProgramRun run =
      halvarinRun({"--machine", machineFile("healthy.txt"), "sensors", "--json"});
  EXPECT_EQ(run.err, "");
  expectGolden("sensors-healthy.json", run.out);
}

TEST(SensorsGolden, SentinelReadingsAsATable) {
  expectGolden("sensors-sentinels.txt",
               halvarinRun({"--machine", machineFile("sentinels.txt"), "sensors"}).out);
}

TEST(SensorsGolden, AllKeysOfEveryTypeAsATable) {
  const ProgramRun run =
      halvarinRun({"--machine", machineFile("every-type.txt"), "sensors", "--all-keys"});
  EXPECT_THAT(run.err, Not(HasSubstr("ui32 ")));
  expectGolden("sensors-every-type.txt", run.out);
}

// ---- JSON --------------------------------------------------------------------------------------

TEST(SensorsJson, NamesTheMachineFirst) {
  const ordered_json simulated = jsonOf({"--machine", "simulated", "sensors"});
  EXPECT_EQ(simulated.begin().key(), "machine");
  EXPECT_EQ(simulated["machine"].dump(),
            R"({"kind":"simulated","model":"MacBookPro16,1","powerSource":"AC Power"})");
  const ordered_json file = jsonOf({"--machine", machineFile("healthy.txt"), "sensors"});
  EXPECT_EQ(file["machine"]["kind"], "file");
  EXPECT_EQ(file["machine"]["model"], "MacBookPro15,1");
}

TEST(SensorsJson, RecordHoldsItsEntriesUnderTheirNames) {
  const ordered_json json = jsonOf({"--machine", "simulated", "sensors", "temperature"});
  const ordered_json cpu = record(json, "TC0P");
  EXPECT_EQ(cpu["value"], "44.63");
  EXPECT_EQ(cpu["unit"], "oC");
  EXPECT_EQ(cpu["isInsideLimits"], true);
  EXPECT_EQ(cpu["error"], 0);
  EXPECT_EQ(cpu["category"], "temperature");
  EXPECT_EQ(cpu["dataBytes"].get<std::string>().size(), 64U);
  EXPECT_FALSE(cpu.contains("ACqualified"));
}

TEST(SensorsJson, CategoryHoldsThatCategoryAlone) {
  const ordered_json json = jsonOf({"--machine", "simulated", "sensors", "fans"});
  EXPECT_GT(json["sensors"].size(), 10U);
  for (const auto& each : json["sensors"]) {
    EXPECT_EQ(each["category"], "fans");
  }
}

TEST(SensorsJson, FailedReadHasItsSignedStatusAndNoVerdict) {
  const ordered_json json = jsonOf(
      {"--machine", "simulated", "--fault", "TC0P=error:e00002c2", "sensors", "temperature"});
  const ordered_json cpu = record(json, "TC0P");
  EXPECT_EQ(cpu["value"], "error e00002c2");
  EXPECT_EQ(cpu["error"], static_cast<std::int32_t>(0xE00002C2));
  EXPECT_FALSE(cpu.contains("isInsideLimits"));
  EXPECT_FALSE(cpu.contains("dataBytes"));
}

TEST(SensorsJson, AllKeysHoldsEveryKeyWithACategoryWhereOneFits) {
  const ordered_json json =
      jsonOf({"--machine", machineFile("healthy.txt"), "sensors", "--all-keys"});
  EXPECT_EQ(json["sensors"].size(), 21U);
  EXPECT_FALSE(record(json, "#KEY").contains("category"));
  EXPECT_EQ(record(json, "TC0P")["category"], "temperature");
}

TEST(SensorsJson, MainsLimitIsAppliedByThePowerSource) {
  const std::vector<std::string> words{"--fault", "VD0R=1", "sensors", "voltage"};
  std::vector<std::string> onMains{"--machine", "simulated"};
  onMains.insert(onMains.end(), words.begin(), words.end());
  EXPECT_EQ(record(jsonOf(onMains), "VD0R")["isInsideLimits"], false);
  const ordered_json allKeys =
      jsonOf({"--machine", "simulated", "--fault", "VD0R=1", "sensors", "--all-keys"});
  EXPECT_EQ(record(allKeys, "VD0R")["isInsideLimits"], true);
}

TEST(SensorsJson, FaultWhileDecodingIsLoggedApartFromTheJson) {
  const ProgramRun run = halvarinRun(
      {"--machine", machineFile("decoding-fault.txt"), "sensors", "--all-keys", "--json"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.err, HasSubstr("exception  key: TC1P  name: NSRangeException   reason: "));
  EXPECT_EQ(ordered_json::parse(run.out)["sensors"].size(), 4U);
}

TEST(SensorsTable, KeysAfterAFaultWhileDecodingAreNotRead) {
  const ProgramRun run =
      halvarinRun({"--machine", machineFile("decoding-fault.txt"), "sensors", "--all-keys"});
  EXPECT_THAT(run.out, testing::ContainsRegex("TC2P +not read"));
  EXPECT_THAT(run.out, HasSubstr(" not read\n"));
}

TEST(SensorsJson, AnyOfOurMachinesGivesValidJson) {
  for (const char* file :
       {"battery.txt", "count-of-zero.txt", "crlf.txt", "decoding-fault.txt", "empty-list.txt",
        "every-type.txt", "healthy.txt", "hidden-keys.txt", "long-keys.txt", "no-count-key.txt",
        "platform-status.txt", "refusals.txt", "sentinels.txt", "ui16-fans.txt",
        "zero-byte-codes.txt"}) {
    SCOPED_TRACE(file);
    static_cast<void>(jsonOf({"--machine", machineFile(file), "sensors"}));
    static_cast<void>(jsonOf({"--machine", machineFile(file), "sensors", "--all-keys"}));
  }
}

// ---- faults ------------------------------------------------------------------------------------

struct ReadingRow {
  const char* key;
  const char* asked;
  const char* shown;
};

TEST(SensorsFault, KeyReadsWhatWasAskedInItsOwnType) {
  for (const ReadingRow& row : std::vector<ReadingRow>{{"TC0P", "120", "120.00"},  // sp78
                                                       {"TC0P", "500", "128.00"},  // its largest
                                                       {"TC0P", "-127", "-127.00"},
                                                       {"F0Ac", "1234.5", "1234.50"},  // flt
                                                       {"VD0R", "nan", "nan"},
                                                       {"FNum", "7", "7"}}) {
    const std::string fault = std::string(row.key) + "=" + row.asked;
    const ordered_json json =
        jsonOf({"--machine", "simulated", "--fault", fault, "sensors", "--all-keys"});
    EXPECT_EQ(record(json, row.key)["value"], row.shown) << fault;
  }
}

TEST(SensorsFault, VerdictSaysOnWhichSideAReadingIsOutside) {
  const ProgramRun run = halvarinRun({"--machine", "simulated", "--fault", "TC0P=120", "--fault",
                                      "TB0T=-5", "--fault", "VD0R=nan", "--clock", "0", "sensors"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.out,
              testing::ContainsRegex("TC0P +CPU proximity +120.00 +oC +0 to 100 +too high"));
  EXPECT_THAT(run.out, testing::ContainsRegex("TB0T .* -5.00 +oC +0 to 60 +too low"));
  EXPECT_THAT(run.out, testing::ContainsRegex("VD0R .* nan +V .* not a number"));
  EXPECT_THAT(run.out, HasSubstr("3 outside their limits"));
}

TEST(SensorsFault, VanishedServiceShowsErrorsAndDoesNotCrash) {
  // The built-in machine has 450 keys: 902 transfers to list them and 450 to read them.
  const ProgramRun late =
      halvarinRun({"--machine", "simulated", "--fault", "vanish:1400", "sensors"});
  EXPECT_EQ(late.exit, 0);
  EXPECT_THAT(late.out, HasSubstr("error e00002c0"));
  EXPECT_THAT(late.out, HasSubstr(" not read\n"));
  const ProgramRun atOnce =
      halvarinRun({"--machine", "simulated", "--fault", "vanish:0", "sensors"});
  EXPECT_EQ(atOnce.exit, 3);
  EXPECT_THAT(atOnce.err, HasSubstr("gone away"));
}

// ---- what people see ---------------------------------------------------------------------------

TEST(SensorsTable, HeadingSaysThatTheMachineIsNotTheComputersOwn) {
  EXPECT_THAT(halvarinRun({"--machine", "simulated", "sensors", "light"}).out,
              HasSubstr("Machine: MacBookPro16,1 (simulated), AC Power\n"));
  EXPECT_THAT(halvarinRun({"--machine", machineFile("battery.txt"), "sensors", "fans"}).out,
              HasSubstr("(recorded), Battery Power\n"));
}

TEST(SensorsTable, PipedOutputHasNoColour) {
  const ProgramRun run =
      halvarinRun({"--machine", "simulated", "--fault", "TC0P=120", "sensors", "temperature"});
  EXPECT_THAT(run.out, Not(HasSubstr("\033")));
}

TEST(SensorsTable, UnknownModelIsSaidAndStillListsItsFans) {
  const ProgramRun run = halvarinRun({"--machine", machineFile("ui16-fans.txt"), "sensors"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.err, HasSubstr("does not know the model"));
  EXPECT_THAT(run.out, HasSubstr("F0Ac"));
}

TEST(SensorsTable, VerboseShowsTheLogOfAReadingOfAllKeys) {
  const std::vector<std::string> words{"--machine", machineFile("healthy.txt"), "sensors",
                                       "--all-keys"};
  EXPECT_THAT(halvarinRun(words).err, Not(HasSubstr("ui32 #KEY")));
  auto verbose = words;
  verbose.emplace_back("--verbose");
  EXPECT_THAT(halvarinRun(verbose).err, HasSubstr("ui32 #KEY\n"));
}

}  // namespace
}  // namespace halvarin::test
