// The fan self-test of the program on every recorded machine beside the checkout, on own machines
// of every kind and on the built-in ones: healthy fans pass, and are automatic afterwards.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "base/FileBytes.h"
#include "tests/support/ProgramJournal.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/RootedLogs.h"
#include "tests/support/SharedData.h"

namespace halvarin::test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Words = std::vector<std::string>;

constexpr const char* kForceBits = "FS! ";

json jsonOf(const std::string& machine, const Words& words) {
  Words all{"--machine", machine, "--json"};
  all.insert(all.end(), words.begin(), words.end());
  const ProgramRun run = runProgram(HALVARIN_ROOTED, all);
  EXPECT_EQ(run.exit, 0) << machine << run.err;
  return json::parse(run.out);
}

/// What a machine says of itself before the test.
struct Before {
  explicit Before(const std::string& machine) : fans(jsonOf(machine, {"fans"})) {
    for (const json& key : jsonOf(machine, {"keys", "F*"})) {
      bytes[key.at("key")] = key.value("bytes", "");
    }
  }
  [[nodiscard]] bool has(const std::string& key) const { return bytes.count(key) == 1; }
  /// The key that a fan is forced by; the bits' where it has none of its own.
  [[nodiscard]] std::string forceKey(std::size_t fan) const {
    for (const char* suffix : {"Md", "md"}) {
      const std::string key = "F" + std::to_string(fan) + suffix;
      if (has(key)) {
        return key;
      }
    }
    return kForceBits;
  }
  [[nodiscard]] bool isForced(std::size_t fan) const {
    const std::string key = forceKey(fan);
    const auto number = std::stoul(bytes.at(key), nullptr, 16);
    return key == kForceBits ? (number >> fan & 1U) != 0 : number == 1;
  }

  json fans;
  std::map<std::string, std::string> bytes;  // by key
};

/// The speed in a written target: a float, low byte first, or quarters, high byte first.
double writtenRpm(const std::string& hex) {
  const auto number = static_cast<std::uint32_t>(std::stoul(hex, nullptr, 16));
  if (hex.size() == 4) {
    return number / 4.0;
  }
  return std::bit_cast<float>(number << 24U | (number & 0xFF00U) << 8U | (number >> 8U & 0xFF00U) |
                              number >> 24U);
}

/// The speeds, each once where it was written several times in a row.
std::vector<double> targetsIn(const Words& writes) {
  std::vector<double> targets;
  std::transform(writes.begin(), writes.end(), std::back_inserter(targets), writtenRpm);
  targets.erase(std::unique(targets.begin(), targets.end()), targets.end());
  return targets;
}

class FanSelfTest : public testing::Test {
 protected:
  void testFansOf(const std::string& machine, const Before& before) {
    result_ = runProgram(HALVARIN_ROOTED, {"--machine", machine, "--clock", clockFor(before),
                                           "--journal", journal_, "--json", "test", "fans"});
    for (const std::string& write : writesIn(journal_)) {
      writes_[write.substr(0, 4)].push_back(write.substr(5));
    }
  }

  void expectPassed(const Before& before) const {
    EXPECT_EQ(result_.exit, 0) << result_.err;
    const json value = json::parse(result_.out);
    EXPECT_EQ(value.at("status"), "Passed") << result_.out;
    const json& tested = value.at("fanTestResults");
    ASSERT_EQ(tested.size(), before.fans.size());
    for (std::size_t i = 0; i < tested.size(); ++i) {
      EXPECT_EQ(tested[i].at("index"), i);
      EXPECT_EQ(tested[i].at("location"), before.fans[i].at("location"));
      EXPECT_EQ(tested[i].at("status"), "Passed") << result_.out;
    }
  }

  void expectOnlyTheCommandsOfTheTest(const Before& before) const {
    std::set<std::string> expected;
    for (std::size_t i = 0; i < before.fans.size(); ++i) {
      const std::string target = "F" + std::to_string(i) + "Tg";
      const auto whole = [&](const char* entry) {
        return static_cast<int>(before.fans[i].at(entry).get<double>());
      };
      std::vector<double> commanded{static_cast<double>(whole("max")),
                                    static_cast<double>(whole("min"))};
      if (before.isForced(i)) {  // whether this user may command it was asked by what it holds
        commanded.insert(commanded.begin(), writtenRpm(before.bytes.at(target)));
      }
      EXPECT_THAT(targetsIn(writesOf(target)), ElementsAreArray(commanded)) << target;
      expected.insert({target, before.forceKey(i)});
    }
    if (before.has("Ftst")) {
      expected.insert("Ftst");
    }
    std::set<std::string> written;
    for (const auto& [key, ignored] : writes_) {
      written.insert(key);
    }
    EXPECT_EQ(written, expected);
    for (const std::string& line : linesOf(fileBytes(journal_).value_or(""))) {
      EXPECT_TRUE(line.find(" write ") == std::string::npos || line.ends_with(" -> done")) << line;
    }
  }

  void expectEveryFanIsAutomatic(const Before& before) const {
    Words flag(before.fans.size(), "01");
    flag.insert(flag.end(), before.fans.size(), "00");
    EXPECT_EQ(writesOf("Ftst"), before.has("Ftst") ? flag : Words());
    for (std::size_t i = 0; i < before.fans.size(); ++i) {
      const std::string key = before.forceKey(i);
      if (key != kForceBits) {
        // Forced for each speed; handed back by the test, and again when the program drops it.
        EXPECT_THAT(writesOf(key), ElementsAre("01", "01", "00", "00")) << key;
      }
    }
    if (before.forceKey(0) == kForceBits) {
      expectBitsOfFans(before);
    }
  }

  [[nodiscard]] Words writesOf(const std::string& key) const {
    const auto found = writes_.find(key);
    return found != writes_.end() ? found->second : Words();
  }

  ProgramRun result_;
  std::map<std::string, Words> writes_;  // by key, in their order

 private:
  /// No delay of a test's thread harms a healthy fan: it only gets more time between two samples.
  /// But of several fans with one test flag, the first whose test ends makes the others lose theirs
  /// when they lag by eight seconds or more: those get the time for a thread to be late.
  static std::string clockFor(const Before& before) {
    return before.has("Ftst") && before.fans.size() > 1 ? "10" : "200";
  }

  /// The bits of the machine's fans and of no other were set, and none is at the end.
  void expectBitsOfFans(const Before& before) const {
    const auto words = writesOf(kForceBits);
    std::uint32_t seen = 0;
    for (const std::string& word : words) {
      ASSERT_EQ(word.size(), 4U);
      seen |= static_cast<std::uint32_t>(std::stoul(word, nullptr, 16));
    }
    EXPECT_EQ(seen, (1U << before.fans.size()) - 1);
    ASSERT_FALSE(words.empty());
    EXPECT_EQ(words.back(), "0000");
  }

  const RootedLogs logs_;
  const std::string journal_ = logs_.file("journal");
};

/// By what --machine takes.
class HealthyFans : public FanSelfTest, public testing::WithParamInterface<std::string> {};

TEST_P(HealthyFans, PassAndAreHandedBackAfterTheCommandsOfTheTestAlone) {
  const Before before(GetParam());
  ASSERT_GT(before.fans.size(), 0U);
  testFansOf(GetParam(), before);
  expectPassed(before);
  expectOnlyTheCommandsOfTheTest(before);
  expectEveryFanIsAutomatic(before);
}

/// The last part of the machine's name, with letters and digits alone.
std::string machineAsName(const testing::TestParamInfo<std::string>& machine) {
  std::string name = machine.param.substr(machine.param.find_last_of("/:") + 1);
  name = name.substr(0, name.find(".txt"));
  std::replace_if(
      name.begin(), name.end(), [](unsigned char each) { return std::isalnum(each) == 0; }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(BuiltIn, HealthyFans,
                         testing::Values("simulated", "simulated:MacBookPro18,1"), machineAsName);
INSTANTIATE_TEST_SUITE_P(
    Own, HealthyFans,
    testing::Values(machineFile("fans-force-bits.txt"), machineFile("fans-mode-key.txt"),
                    machineFile("fans-lower-mode-key.txt"), machineFile("fans-test-flag.txt"),
                    machineFile("fans-five.txt"), machineFile("ui16-fans.txt")),
    machineAsName);

// ---- recorded machines -------------------------------------------------------------------------

constexpr const char* kWithoutFans = "MacBook10,1";

std::string recordedMachine(const std::string& model) {
  return "file:" + dumpPath(model);
}

Words recordedMachinesWithFans() {
  Words machines;
  for (const std::string& model : recordedModels()) {
    if (model != kWithoutFans) {
      machines.push_back(recordedMachine(model));
    }
  }
  return machines;
}

INSTANTIATE_TEST_SUITE_P(Recorded, HealthyFans, testing::ValuesIn(recordedMachinesWithFans()),
                         machineAsName);

class RecordedFanSelfTest : public FanSelfTest {
 protected:
  void SetUp() override {
    if (recordedModels().empty()) {
      GTEST_SKIP() << "no recorded machines in " << sharedData() / "dumps";
    }
  }
};

TEST_F(RecordedFanSelfTest, MacBook10_1HasNoFansAndIsPassedWithoutAWrite) {
  const Before before(recordedMachine(kWithoutFans));
  testFansOf(recordedMachine(kWithoutFans), before);
  EXPECT_EQ(before.fans.size(), 0U);
  EXPECT_EQ(result_.exit, 0);
  const json value = json::parse(result_.out);
  EXPECT_EQ(value.at("status"), "Passed");
  EXPECT_EQ(value.at("fanTestResults"), json::array());
  EXPECT_EQ(result_.err,
            "halvarin: there was nothing to test: the machine has no fan that can be tested\n");
  EXPECT_THAT(writes_, IsEmpty());
}

TEST_F(RecordedFanSelfTest, MacBook6_1WasRecordedWithItsFanForcedAndHasItAutomaticAfterwards) {
  const Before before(recordedMachine("MacBook6,1"));
  EXPECT_EQ(before.bytes.at(kForceBits), "0001");
  testFansOf(recordedMachine("MacBook6,1"), before);
  expectPassed(before);
  ASSERT_FALSE(writesOf(kForceBits).empty());
  EXPECT_EQ(writesOf(kForceBits).back(), "0000");
}

}  // namespace
}  // namespace halvarin::test
