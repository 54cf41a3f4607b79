#include "database/packer/DatabaseValue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/Dictionary.h"
#include "platform/PropertyList.h"
#include "tests/unit/database/TableFolder.h"

namespace halvarin::test {

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

DictionaryRef databaseOf(const TableFolder& tables) {
  const TemporaryFolder folder;
  tables.write(folder);
  return packer::databaseFrom(packer::SensorTables(folder.path())).dictionary();
}

/// Names and values as texts, in the order of insertion; a dictionary or array shows as its kind.
std::vector<std::pair<std::string, std::string>> entriesOf(const DictionaryRef& dictionary) {
  std::vector<std::pair<std::string, std::string>> entries;
  for (const auto& [name, value] : dictionary->entries()) {
    entries.emplace_back(name.string(), std::string(value.className()) + " " + value.description());
  }
  return entries;
}

DictionaryRef at(const DictionaryRef& dictionary, const std::vector<std::string>& path) {
  DictionaryRef here = dictionary;
  for (const std::string& name : path) {
    here = here == nullptr ? nullptr : here->get(name).dictionary();
  }
  return here;
}

TEST(DatabaseValue, HoldsEveryModelInTheOrderOfTheTable) {
  const DictionaryRef database = databaseOf({});
  ASSERT_NE(database, nullptr);
  EXPECT_THAT(entriesOf(database), ElementsAre(Pair("Alpha1,1", "Dictionary Dictionary"),
                                               Pair("Beta1,1", "Dictionary Dictionary"),
                                               Pair("Gamma1,1", "Dictionary Dictionary"),
                                               Pair("Delta1,1", "Dictionary Dictionary")));
}

TEST(DatabaseValue, TellsOfAModelWhatItIsAndItsSensors) {
  const DictionaryRef model = at(databaseOf({}), {"Beta1,1"});
  ASSERT_NE(model, nullptr);
  EXPECT_THAT(entriesOf(model),
              ElementsAre(Pair("Name", "Text Beta (2021)"), Pair("Chip", "Text Chip B"),
                          Pair("List", "Text report"), Pair("Sensors", "Dictionary Dictionary")));
}

TEST(DatabaseValue, HoldsExactlyTheKeysOfTheModelsList) {
  const DictionaryRef database = databaseOf({});
  const DictionaryRef sensors = at(database, {"Alpha1,1", "Sensors"});
  ASSERT_NE(sensors, nullptr);
  std::vector<std::string> keys;
  for (const auto& [name, value] : sensors->entries()) {
    keys.push_back(name.string());
  }
  EXPECT_THAT(keys, ElementsAre("MSLD", "TA0P", "TC0P", "VP0R"));
  EXPECT_EQ(at(database, {"Gamma1,1", "Sensors"})->count(), 1U);
}

TEST(DatabaseValue, DescribesASensorByTextsAndNothingThatItHasNot) {
  const DictionaryRef sensors = at(databaseOf({}), {"Alpha1,1", "Sensors"});
  ASSERT_NE(sensors, nullptr);
  EXPECT_THAT(entriesOf(at(sensors, {"TA0P"})),
              ElementsAre(Pair("description", "Text Room air"), Pair("unit", "Text oC"),
                          Pair("low limit", "Text 0"), Pair("high limit", "Text 50"),
                          Pair("type", "Text Temperature")));
  EXPECT_THAT(entriesOf(at(sensors, {"MSLD"})), ElementsAre(Pair("description", "Text Lid magnet"),
                                                            Pair("type", "Text Magnetometer")));
}

TEST(DatabaseValue, QualifiesOnlyWhatIsJudgedOnMainsAlone) {
  const DictionaryRef sensors = at(databaseOf({}), {"Alpha1,1", "Sensors"});
  ASSERT_NE(sensors, nullptr);
  EXPECT_THAT(entriesOf(at(sensors, {"VP0R"})),
              ElementsAre(Pair("description", "Text Main bus"), Pair("unit", "Text V"),
                          Pair("low limit", "Text 8.2"), Pair("high limit", "Text 14"),
                          Pair("type", "Text Voltage"), Pair("ACqualified", "Boolean 1")));
  for (const char* key : {"MSLD", "TA0P", "TC0P"}) {
    EXPECT_FALSE(at(sensors, {key})->has("ACqualified")) << key;
  }
}

TEST(DatabaseValue, NamesTheRelativeOfAModelThatSharesItsList) {
  const DictionaryRef database = databaseOf({});
  EXPECT_EQ(at(database, {"Delta1,1"})->get("Relative").textView(), "Alpha1,1");
  EXPECT_FALSE(at(database, {"Alpha1,1"})->has("Relative"));
}

TEST(DatabaseValue, HoldsAnExceptionOnItsModelOnly) {
  TableFolder tables;
  tables.append("exceptions.tsv", "TC0P\tBeta1,1\tair\t-\twhy");
  const DictionaryRef database = databaseOf(tables);
  EXPECT_EQ(at(database, {"Alpha1,1", "Sensors", "TC0P"})->get("high limit").textView(), "110");
  EXPECT_EQ(at(database, {"Beta1,1", "Sensors", "TC0P"})->get("high limit").textView(), "50");
}

TEST(DatabaseValue, ReadsBackFromItsPropertyList) {
  const DictionaryRef database = databaseOf({});
  const auto list =
      platform::writePropertyList(Value(database), platform::PropertyListFormat::binary);
  ASSERT_TRUE(list);
  const DictionaryRef read = platform::parsePropertyList(*list).dictionary();
  ASSERT_NE(read, nullptr);
  EXPECT_THAT(entriesOf(at(read, {"Alpha1,1", "Sensors", "VP0R"})),
              ::testing::UnorderedElementsAreArray(
                  entriesOf(at(database, {"Alpha1,1", "Sensors", "VP0R"}))));
}

TEST(DatabaseValue, ThrowsForTablesThatAreWrong) {
  TableFolder tables;
  tables.append("sensors/power.tsv", "PC0R\t*\tair\tUnused");
  EXPECT_THROW(static_cast<void>(databaseOf(tables)), packer::TableError);
}

}  // namespace

}  // namespace halvarin::test
