#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "platform/machine/BuiltInMachine.h"
#include "platform/machine/MachineFile.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/SharedData.h"

namespace halvarin::test {
namespace {

using nlohmann::ordered_json;
using platform::MachineFileError;
using platform::RecordedMachine;
using testing::HasSubstr;

RecordedMachine parsed(const std::string& text, const std::string& name) {
  auto read = platform::parseMachineFile(text, name);
  if (const auto* error = std::get_if<MachineFileError>(&read)) {
    ADD_FAILURE() << error->message();
    return {};
  }
  return std::get<RecordedMachine>(std::move(read));
}

std::string dumpOf(const std::string& machine) {
  const ProgramRun run = halvarinRun({"--machine", machine, "--clock", "0", "keys", "--dump"});
  EXPECT_EQ(run.exit, 0) << run.err;
  return run.out;
}

TEST(KeysGolden, EveryTypeAsATable) {
  const ProgramRun run = halvarinRun({"--machine", machineFile("every-type.txt"), "keys"});
  EXPECT_EQ(run.exit, 0);
  expectGolden("keys-every-type.txt", run.out);
}

TEST(KeysGolden, RefusalsAsJson) {
  expectGolden("keys-refusals.json",
               halvarinRun({"--machine", machineFile("refusals.txt"), "keys", "--json"}).out);
}

TEST(KeysGolden, PlatformStatusAsADump) {
  expectGolden("dump-platform-status.txt", dumpOf(machineFile("platform-status.txt")));
}

TEST(Keys, JsonIsAListOfTheSixEntries) {
  const ProgramRun run =
      halvarinRun({"--machine", machineFile("healthy.txt"), "keys", "FNum", "--json"});
  EXPECT_EQ(ordered_json::parse(run.out).dump(),
            R"([{"key":"FNum","dataType":"ui8 ","dataSize":1,"bytes":"02","value":2,"error":0}])");
}

TEST(Keys, PatternThatMatchesNothingGivesAnEmptyList) {
  const ProgramRun run =
      halvarinRun({"--machine", machineFile("healthy.txt"), "keys", "zzzz", "--json"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_EQ(run.out, "[]\n");
}

TEST(Keys, PatternsMatchWholeKeys) {
  const auto count = [](const char* pattern) {
    const ProgramRun run = halvarinRun({"--machine", "simulated", "keys", pattern, "--json"});
    return ordered_json::parse(run.out).size();
  };
  EXPECT_EQ(count("F0Ac"), 1U);
  EXPECT_EQ(count("F?Ac"), 2U);
  EXPECT_EQ(count("F*Ac"), 2U);
  EXPECT_EQ(count("*"), 450U);
  EXPECT_EQ(count("f0ac"), 0U);
}

TEST(Keys, LongKeyShowsTheBytesOfOneTransfer) {
  const ProgramRun run = halvarinRun({"--machine", machineFile("long-keys.txt"), "keys", "--json"});
  bool seen = false;
  for (const auto& each : ordered_json::parse(run.out)) {
    if (each["dataSize"] > 32 && each.contains("bytes")) {
      seen = true;
      EXPECT_EQ(each["bytes"].get<std::string>().size(), 64U);
    }
  }
  EXPECT_TRUE(seen);
}

TEST(Keys, DumpOfEachOfOurMachinesLoadsBackToTheSameMachine) {
  for (const char* file :
       {"battery.txt", "crlf.txt", "every-type.txt", "healthy.txt", "hidden-keys.txt",
        "long-keys.txt", "no-count-key.txt", "platform-status.txt", "refusals.txt", "sentinels.txt",
        "ui16-fans.txt", "zero-byte-codes.txt"}) {
    SCOPED_TRACE(file);
    const std::string path = machineFile(file).substr(5);
    EXPECT_EQ(parsed(dumpOf(machineFile(file)), "dump"), parsed(fileText(path), path));
  }
}

TEST(Keys, DumpOfTheBuiltInMachineLoadsBackToIt) {
  EXPECT_EQ(parsed(dumpOf("simulated"), "dump"), platform::builtInLaptop());
}

TEST(Keys, DumpOfEachRecordedMachineLoadsBackToIt) {
  if (recordedModels().empty()) {
    GTEST_SKIP() << "no recorded machines in " << sharedData() / "dumps";
  }
  for (const std::string& model : recordedModels()) {
    SCOPED_TRACE(model);
    EXPECT_EQ(parsed(dumpOf("file:" + dumpPath(model)), "dump"),
              parsed(fileText(dumpPath(model)), dumpPath(model)));
  }
}

TEST(Keys, DumpOfAMachineThatStopsAnsweringIsRefusedWhole) {
  for (const char* fault : {"vanish:0", "vanish:1", "vanish:20", "vanish:1300"}) {
    const ProgramRun run =
        halvarinRun({"--machine", "simulated", "--fault", fault, "keys", "--dump"});
    EXPECT_EQ(run.exit, 3) << fault;
    EXPECT_EQ(run.out, "") << fault;
  }
}

TEST(Keys, ReadingNeverWrites) {
  const std::string journal =
      (std::filesystem::temp_directory_path() / "halvarin-keys-test-journal").string();
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"keys"}, {"keys", "--dump"}, {"sensors"}}) {
    std::vector<std::string> words{"--machine", "simulated", "--journal", journal};
    words.insert(words.end(), command.begin(), command.end());
    EXPECT_EQ(halvarinRun(words).exit, 0);
    EXPECT_THAT(fileText(journal), HasSubstr(" read TC0P size 2 -> "));
    EXPECT_THAT(fileText(journal), testing::Not(HasSubstr(" write ")));
  }
  std::filesystem::remove(journal);
}

}  // namespace
}  // namespace halvarin::test
