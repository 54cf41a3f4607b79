#include "sensors/UpdateCycle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sensors/SensorUpdate.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;

DictionaryRef valued(const Value& value) {
  auto record = Dictionary::make();
  record->set("value", value);
  return record;
}

std::vector<std::string> kept(const std::vector<Value>& values) {
  std::vector<Value> records;
  for (const Value& value : values) {
    records.emplace_back(valued(value));
  }
  std::vector<std::string> texts;
  for (const Value& each : withoutNegative(*Array::make(records))->elements()) {
    texts.push_back(each.dictionary()->get("value").description());
  }
  return texts;
}

TEST(WithoutNegative, LeavesOutReadingsBelowZeroAndKeepsTheOrder) {
  EXPECT_THAT(kept({"45.00", "-0.01", "0.00", "-127.00", "12.50"}),
              ElementsAre("45.00", "0.00", "12.50"));
}

TEST(WithoutNegative, KeepsFailedAndEmptyReadingsWhichCountAs0) {
  EXPECT_THAT(kept({"error e00002c2", "", "0x8000"}), ElementsAre("error e00002c2", "", "0x8000"));
}

TEST(WithoutNegative, KeepsANegativeZero) {
  EXPECT_THAT(kept({"-0.00"}), ElementsAre("-0.00"));
}

TEST(WithoutNegative, KeepsWhatIsNoNumberSoThatABrokenSensorIsTested) {
  EXPECT_THAT(kept({"nan"}), ElementsAre("nan"));
}

TEST(WithoutNegative, KeepsARecordWithoutAValue) {
  EXPECT_EQ(withoutNegative(*Array::make({Dictionary::make()}))->count(), 1U);
}

TEST(WithoutNegative, GivesANewArrayOfTheSameRecords) {
  const auto records = Array::make({valued("45.00")});
  const auto result = withoutNegative(*records);
  EXPECT_NE(result, records);
  EXPECT_EQ(result->at(0).dictionary(), records->at(0).dictionary());
}

TEST(MainsPower, IsAnyPowerSourceWithACInItsName) {
  for (const char* name : {"AC Power", "AC", "xACx", "Battery or AC"}) {
    EXPECT_TRUE(isMainsPower(name)) << name;
  }
  for (const char* name : {"Battery Power", "UPS Power", "", "ac power", "A C"}) {
    EXPECT_FALSE(isMainsPower(name)) << name;
  }
}

/// Readers that note what they are asked for.
struct NotedReaders {
  std::vector<std::string> asked;
  ArrayRef fans = Array::make();
  ArrayRef temperatures = Array::make();
  ArrayRef others = Array::make();

  PassReaders readers() {
    return {[this] {
              asked.emplace_back("fans");
              return fans;
            },
            [this](std::string_view category, bool onMains) {
              asked.push_back(std::string(category) + (onMains ? " mains" : " battery"));
              return category == "temperature" ? temperatures : others;
            }};
  }
};

TEST(UpdatePass, ReadsTheFansFirstThenFiveCategoriesInOrder) {
  NotedReaders noted;
  static_cast<void>(takeUpdatePass("AC Power", noted.readers()));
  EXPECT_THAT(noted.asked, ElementsAre("fans", "temperature mains", "voltage mains",
                                       "current mains", "power mains", "light mains"));
}

TEST(UpdatePass, BatteryAndUninterruptibleSupplyAreNotMains) {
  for (const char* source : {"Battery Power", "UPS Power"}) {
    NotedReaders noted;
    static_cast<void>(takeUpdatePass(source, noted.readers()));
    EXPECT_THAT(noted.asked, ElementsAre("fans", "temperature battery", "voltage battery",
                                         "current battery", "power battery", "light battery"));
  }
}

TEST(UpdatePass, HasSevenEntriesInOrder) {
  NotedReaders noted;
  std::vector<std::string> names;
  for (const auto& [name, value] : takeUpdatePass("AC Power", noted.readers())->entries()) {
    names.push_back(name.string());
  }
  EXPECT_THAT(names,
              ElementsAre("powerSource", "fans", "temps", "voltage", "current", "power", "light"));
}

TEST(UpdatePass, HoldsTheArraysThatWereReadButANewOneOfTheTemperatures) {
  NotedReaders noted;
  noted.temperatures = Array::make({valued("45.00"), valued("-1.00")});
  const auto pass = takeUpdatePass("UPS Power", noted.readers());
  EXPECT_EQ(pass->get("powerSource"), Value("UPS Power"));
  EXPECT_EQ(pass->get("fans").array(), noted.fans);
  EXPECT_NE(pass->get("temps").array(), noted.temperatures);
  EXPECT_EQ(pass->get("temps").array()->count(), 1U);
  EXPECT_EQ(pass->get("temps").array()->at(0), noted.temperatures->at(0));
  for (const char* category : {"voltage", "current", "power", "light"}) {
    EXPECT_EQ(pass->get(category).array(), noted.others) << category;
  }
}

TEST(UpdatePass, CategoryThatIsUnknownIsAnEmptyArray) {
  NotedReaders noted;
  noted.temperatures = nullptr;
  noted.others = nullptr;
  const auto pass = takeUpdatePass("AC Power", noted.readers());
  for (const char* category : {"temps", "voltage", "current", "power", "light"}) {
    ASSERT_TRUE(pass->get(category).array()) << category;
    EXPECT_EQ(pass->get(category).array()->count(), 0U) << category;
  }
}

TEST(SensorUpdate, NotificationHasItsName) {
  EXPECT_EQ(std::string_view(kSensorUpdateNotify), "sensorUpdateNotification");
}

}  // namespace
}  // namespace halvarin::test
