// The fans of every recorded machine beside the checkout, against what its file says.

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "sensors/QXHalvarin.h"
#include "tests/support/RecordedMachines.h"

namespace halvarin::test {
namespace {

/// The bytes of a recording's keys, taken from its text without the library's reader.
std::map<std::string, Bytes> recordedBytes(const std::string& model) {
  std::map<std::string, Bytes> keys;
  std::istringstream text(fileText(dumpPath(model)));
  for (std::string line; std::getline(text, line);) {
    const std::size_t arrow = line.find(" -> ");
    if (line.rfind('[', 0) != 0 || arrow == std::string::npos ||
        line.find("NOT READABLE") != std::string::npos) {
      continue;
    }
    Bytes& bytes = keys[line.substr(1, 4)];
    for (std::size_t at = arrow + 4; at + 1 < line.size(); at += 2) {
      bytes.push_back(static_cast<std::uint8_t>(std::stoi(line.substr(at, 2), nullptr, 16)));
    }
  }
  return keys;
}

/// Where a fan is by its identification record: from byte 4 up to the first zero byte.
std::string recordedLocation(const std::map<std::string, Bytes>& keys, const std::string& fan) {
  const auto found = keys.find("F" + fan + "ID");
  if (found == keys.end()) {
    return "Fan" + fan;
  }
  std::string name;
  for (std::size_t at = 4; at < found->second.size() && found->second[at] != 0; ++at) {
    name.push_back(static_cast<char>(found->second[at]));
  }
  return name;
}

/// The published readings of a model's fan keys.
std::map<std::string, std::string> publishedFans(const std::string& model) {
  std::map<std::string, std::string> readings;
  for (auto& row : tableRows(sharedData() / "data" / "readings.tsv")) {
    if (row["model"] == model && row["key"][0] == 'F') {
      readings[row["key"]] = row["decoded"];
    }
  }
  return readings;
}

class RecordedFans : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    installed_ = installRecorded(GetParam());
    const auto facade = QXHalvarin::sharedHalvarin();
    ASSERT_TRUE(facade);
    fans_ = facade->readFans();
    keys_ = recordedBytes(GetParam());
    ASSERT_EQ(keys_["FNum"].size(), 1U);
  }

  InstalledMachine installed_;
  ArrayRef fans_;
  std::map<std::string, Bytes> keys_;
};

TEST_P(RecordedFans, ThereAreAsManyAsTheFileSaysInIndexOrderAndEnabled) {
  EXPECT_EQ(fans_->count(), keys_["FNum"][0]);
  EXPECT_EQ(std::to_string(fans_->count()), publishedFans(GetParam())["FNum"]);
  for (std::size_t i = 0; i < fans_->count(); ++i) {
    const DictionaryRef fan = fans_->at(i).dictionary();
    EXPECT_EQ(fan->count(), 9U);
    EXPECT_EQ(fan->get("index"), Value(i));
    EXPECT_EQ(fan->get("enabled"), Value(1));
  }
}

TEST_P(RecordedFans, SpeedsTargetsAndLimitsAreThePublishedOnes) {
  const auto published = publishedFans(GetParam());
  std::size_t compared = 0;
  for (std::size_t i = 0; i < fans_->count(); ++i) {
    for (const auto& [entry, suffix] : std::map<std::string, std::string>{
             {"speed", "Ac"}, {"target", "Tg"}, {"min", "Mn"}, {"max", "Mx"}}) {
      const std::string key = "F" + std::to_string(i) + suffix;
      const Value shown = fans_->at(i).dictionary()->get(entry);
      const auto found = published.find(key);
      if (found == published.end()) {
        EXPECT_EQ(keys_.count(key), 0U) << key;
        EXPECT_EQ(shown, Value(0.0)) << key;
        continue;
      }
      ++compared;
      EXPECT_NEAR(shown.doubleValue(), std::stod(found->second), 0.0051) << key;
    }
  }
  EXPECT_EQ(compared, 4 * fans_->count());
}

TEST_P(RecordedFans, LocationIsTheNameInTheIdentificationRecordWithItsBlanks) {
  for (std::size_t i = 0; i < fans_->count(); ++i) {
    EXPECT_EQ(fans_->at(i).dictionary()->get("location"),
              Value(recordedLocation(keys_, std::to_string(i))));
  }
}

TEST_P(RecordedFans, TemperatureOfEachIsTheHottestOfTheMachine) {
  const auto facade = QXHalvarin::sharedHalvarin();
  double hottest = 0;
  for (const Value& each : facade->sensorKeys()->get("temperature").array()->elements()) {
    hottest = std::max(hottest, each.dictionary()->get("value").doubleValue());
  }
  EXPECT_GT(hottest, 20.0);
  for (const Value& fan : fans_->elements()) {
    EXPECT_EQ(fan.dictionary()->get("temp").doubleValue(), hottest);
  }
}

TEST_P(RecordedFans, ModeIsThatOfTheModeKey) {
  for (std::size_t i = 0; i < fans_->count(); ++i) {
    const auto found = keys_.find("F" + std::to_string(i) + "Md");
    const int mode = found == keys_.end() ? 0 : found->second.at(0);
    EXPECT_EQ(fans_->at(i).dictionary()->get("mode"), Value(mode));
  }
}

INSTANTIATE_TEST_SUITE_P(All, RecordedFans, testing::ValuesIn(recordedModels()), modelAsName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RecordedFans);

TEST(RecordedMachineWithoutFans, MacBook10_1HasNone) {
  if (recordedModels().empty()) {
    GTEST_SKIP() << "no recorded machines in " << sharedData() / "dumps";
  }
  installRecorded("MacBook10,1");
  EXPECT_EQ(QXHalvarin::sharedHalvarin()->readFans()->count(), 0U);
}

}  // namespace
}  // namespace halvarin::test
