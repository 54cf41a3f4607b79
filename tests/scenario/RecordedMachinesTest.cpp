// The facade on every recorded machine beside the checkout, with the library's own database.

#include <gtest/gtest.h>

#include <cmath>

#include "base/NumberText.h"
#include "sensors/QXHalvarin.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/RecordedMachines.h"

namespace halvarin::test {
namespace {

constexpr std::size_t kRecordedMachines = 28;

class RecordedMachine : public testing::TestWithParam<std::string> {};

TEST_P(RecordedMachine, TableHasExactlyTheListedKeysInIndexOrder) {
  installRecorded(GetParam());
  const auto facade = QXHalvarin::sharedHalvarin();
  ASSERT_TRUE(facade);
  EXPECT_EQ(facade->machineModel(), GetParam());
  std::vector<std::string> keys;
  int index = 0;
  for (const Value& each : facade->smcKeys()->elements()) {
    keys.push_back(each.dictionary()->get("key").text().string());
    EXPECT_EQ(each.dictionary()->get("index"), Value(std::to_string(index++)));
  }
  EXPECT_EQ(keys, recordedKeys(GetParam()));
}

bool isSensorKey(const std::string& key) {
  return std::string("TVIPF").find(key[0]) != std::string::npos || key == "ALSL" ||
         key.rfind("MO_", 0) == 0;
}

bool isRealType(const std::string& quoted) {
  return quoted.rfind("\"flt", 0) == 0 || quoted.rfind("\"sp", 0) == 0 ||
         quoted.rfind("\"fp", 0) == 0;
}

TEST_P(RecordedMachine, RealSensorsDecodeToTheirPublishedReadings) {
  CapturedLog log;
  installRecorded(GetParam());
  const auto facade = QXHalvarin::sharedHalvarin();
  ASSERT_TRUE(facade);
  std::map<std::string, std::string> texts;
  for (const Value& each : facade->readSensorsOfType(std::nullopt, false)->elements()) {
    texts[each.dictionary()->get("key").text().string()] =
        each.dictionary()->get("value").text().string();
  }
  std::size_t compared = 0;
  for (auto& row : tableRows(sharedData() / "data" / "readings.tsv")) {
    const std::string key = row["key"];
    if (row["model"] != GetParam() || !isRealType(row["type"]) || !isSensorKey(key) ||
        row["decoded"] == "unreadable") {
      continue;
    }
    ++compared;
    // That machine alone stores two of its constants with their bytes the other way round.
    if (GetParam() == "MacPro6,1" && (key == "PZFE" || key == "PZSE")) {
      EXPECT_EQ(texts[key], "0.00") << key;
      continue;
    }
    EXPECT_NEAR(decimalReading(texts[key]), std::stod(row["decoded"]), 0.0051) << key;
  }
  EXPECT_GT(compared, 20U);
}

/// Whether a temperature is one of the codes for a sensor that is not fitted, not started or not
/// stable. They are outside absolute limits, as they should be, and are no finding.
bool standsForNoReading(const char* category, const Dictionary& record) {
  const double value = record.get("value").doubleValue();
  return *category == 't' && value >= -128 && value <= -124;
}

TEST_P(RecordedMachine, HealthyMachineHasNoReadingOutsideItsLimits) {
  const auto installed = installRecorded(GetParam());
  const auto facade = QXHalvarin::sharedHalvarin();
  ASSERT_TRUE(facade);
  const bool onMains = installed.machine->powerSource().find("AC") != std::string::npos;
  std::size_t judged = 0;
  for (const char* category : {"temperature", "voltage", "current", "power", "light"}) {
    for (const Value& each : facade->readSensorsOfType(category, onMains)->elements()) {
      const DictionaryRef record = each.dictionary();
      const bool absent = standsForNoReading(category, *record);
      judged += record->has("isInsideLimits") && !absent ? std::size_t{1} : 0;
      EXPECT_TRUE(absent || !record->has("isInsideLimits") ||
                  record->get("isInsideLimits").boolValue())
          << record->get("key").text().view() << " " << record->get("value").text().view();
    }
  }
  EXPECT_GT(judged, 20U);
}

TEST_P(RecordedMachine, EveryDescribedSensorHasAUnitOrIsAState) {
  installRecorded(GetParam());
  const auto facade = QXHalvarin::sharedHalvarin();
  ASSERT_TRUE(facade);
  ASSERT_TRUE(facade->sensorDict());
  EXPECT_GT(facade->sensorKeys()->get("temperature").array()->count(), 5U);
  for (const char* category : {"temperature", "voltage", "current", "power", "light"}) {
    for (const Value& each : facade->sensorKeys()->get(category).array()->elements()) {
      EXPECT_FALSE(each.dictionary()->get("unit").textView().empty())
          << each.dictionary()->get("key").text().view();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, RecordedMachine, testing::ValuesIn(recordedModels()), modelAsName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RecordedMachine);

TEST(RecordedMachines, AllAreThere) {
  if (recordedModels().empty()) {
    GTEST_SKIP() << "no recorded machines in " << sharedData() / "dumps"
                 << ": nothing was compared with real machines";
  }
  EXPECT_EQ(recordedModels().size(), kRecordedMachines);
}

}  // namespace
}  // namespace halvarin::test
