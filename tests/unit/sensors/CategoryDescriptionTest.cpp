#include "sensors/CategoryDescription.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sensors/SensorCategory.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;

DictionaryRef recordOf(const char* key) {
  auto record = Dictionary::make();
  record->set("key", key);
  return record;
}

ArrayRef recordsOf(std::initializer_list<const char*> keys) {
  std::vector<Value> records;
  for (const char* key : keys) {
    records.push_back(recordOf(key));
  }
  return Array::make(std::move(records));
}

std::vector<std::string> keysOf(const ArrayRef& records) {
  std::vector<std::string> keys;
  for (const Value& each : records->elements()) {
    keys.push_back(each.dictionary()->get("key").text().string());
  }
  return keys;
}

DictionaryRef tableWith(const char* key, DictionaryRef descriptor) {
  auto table = Dictionary::make();
  table->set(key, std::move(descriptor));
  return table;
}

DictionaryRef descriptorWith(std::initializer_list<std::pair<const char*, Value>> entries) {
  auto descriptor = Dictionary::make();
  for (const auto& [name, value] : entries) {
    descriptor->set(name, value);
  }
  return descriptor;
}

TEST(CategoryDescription, AreNineInThisOrder) {
  std::vector<std::string> rows;
  for (const SensorCategory& category : kSensorCategories) {
    rows.push_back(std::string(category.name) + " " + std::string(category.pattern) +
                   (category.describedOnly ? "" : " all"));
  }
  EXPECT_THAT(rows, ElementsAre("temperature T???", "voltage V???", "current I???", "power P???",
                                "light ALSL", "motion MO_?", "magnetic MSLD", "calibration MSC?",
                                "fans F??? all"));
}

TEST(CategoryDescription, PatternSelectsFourCharacterKeysOnly) {
  const ArrayRef records = recordsOf({"MO_X", "MO_", "MO_XY", "mO_X", "MO-X", "MO_ "});
  EXPECT_THAT(keysOf(describeMatching(records, nullptr, "MO_?", false)),
              ElementsAre("MO_X", "MO_ "));
}

TEST(CategoryDescription, RecordWithoutAKeyMatchesNothing) {
  auto records = Array::make({Dictionary::make()});
  EXPECT_EQ(describeMatching(records, nullptr, "*", false)->count(), 0U);
}

TEST(CategoryDescription, DescriptorIsCopiedIntoTheSharedRecord) {
  const ArrayRef records = recordsOf({"TC0P"});
  const auto table = tableWith("TC0P", descriptorWith({{"description", "CPU"},
                                                       {"unit", "oC"},
                                                       {"low limit", "0"},
                                                       {"high limit", "100"},
                                                       {"type", "Temperature"}}));
  const ArrayRef matching = describeMatching(records, table, "T???", true);
  ASSERT_EQ(matching->count(), 1U);
  const DictionaryRef record = records->at(0).dictionary();
  EXPECT_EQ(matching->at(0).dictionary(), record);
  EXPECT_EQ(record->get("description"), Value("CPU"));
  EXPECT_EQ(record->get("unit"), Value("oC"));
  EXPECT_EQ(record->get("low limit"), Value("0"));
  EXPECT_EQ(record->get("high limit"), Value("100"));
  EXPECT_FALSE(record->has("ACqualified"));
  EXPECT_FALSE(record->has("type"));
}

TEST(CategoryDescription, UndescribedRecordGetsFourEmptyTexts) {
  const ArrayRef records = recordsOf({"TC0P"});
  EXPECT_EQ(describeMatching(records, nullptr, "T???", true)->count(), 0U);
  const DictionaryRef record = records->at(0).dictionary();
  for (const char* entry : {"description", "unit", "low limit", "high limit"}) {
    EXPECT_EQ(record->get(entry), Value("")) << entry;
  }
  EXPECT_EQ(record->count(), 5U);
}

TEST(CategoryDescription, EmptyDescriptionDropsOut) {
  const ArrayRef records = recordsOf({"TC0P"});
  const auto table = tableWith("TC0P", descriptorWith({{"description", ""}, {"unit", "oC"}}));
  EXPECT_EQ(describeMatching(records, table, "T???", true)->count(), 0U);
  EXPECT_EQ(records->at(0).dictionary()->get("unit"), Value("oC"));
}

TEST(CategoryDescription, ACqualifiedIsTakenAsItIs) {
  for (const Value& stated : {Value(true), Value(false), Value("YES")}) {
    const ArrayRef records = recordsOf({"TC0P"});
    const auto table =
        tableWith("TC0P", descriptorWith({{"description", "CPU"}, {"ACqualified", stated}}));
    describeMatching(records, table, "T???", true);
    EXPECT_EQ(records->at(0).dictionary()->get("ACqualified"), stated);
  }
}

TEST(CategoryDescription, DeliberateACqualifiedOnceSetStays) {
  const ArrayRef records = recordsOf({"TC0P"});
  const auto first =
      tableWith("TC0P", descriptorWith({{"description", "CPU"}, {"ACqualified", true}}));
  describeMatching(records, first, "T???", true);
  const auto second = tableWith("TC0P", descriptorWith({{"description", "CPU die"}}));
  describeMatching(records, second, "T???", true);
  EXPECT_EQ(records->at(0).dictionary()->get("description"), Value("CPU die"));
  EXPECT_EQ(records->at(0).dictionary()->get("ACqualified"), Value(true));
}

}  // namespace
}  // namespace halvarin::test
