#include "sensors/FanReadout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/Dictionary.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;

/// A fan record as a reading of the fans leaves it.
Value read(const char* key, const char* type, const Value& value) {
  auto record = Dictionary::make();
  record->set("key", key);
  record->set("dataType", type);
  record->set("value", value);
  return record;
}

Value count(const Value& fans) {
  return read("FNum", "ui8 ", fans);
}

ArrayRef fansOf(std::vector<Value> records) {
  return fanDictionaries(*Array::make(std::move(records)), "55.00");
}

Value entry(const ArrayRef& fans, std::size_t fan, const char* name) {
  return fans->at(fan).dictionary()->get(name);
}

// ---- how many fans -----------------------------------------------------------------------------

TEST(FanReadout, CountOf2GivesTwoDictionariesWithIndex0And1BothEnabled) {
  const auto fans = fansOf(
      {read("F0Ac", "fpe2", "2001.25"), read("F0Md", "ui8 ", "0"), read("F0Mn", "fpe2", "2000.00"),
       read("F0Mx", "fpe2", "6200.00"), read("F0Tg", "fpe2", "2000.00"),
       read("F1Ac", "fpe2", "1999.50"), read("F1Md", "ui8 ", "1"), read("F1Mn", "fpe2", "1800.00"),
       read("F1Mx", "fpe2", "6000.00"), read("F1Tg", "fpe2", "5900.00"), count("2")});
  ASSERT_EQ(fans->count(), 2U);
  const std::vector<std::vector<double>> rows{{0, 1, 0, 2001.25, 2000, 2000, 6200},
                                              {1, 1, 1, 1999.5, 5900, 1800, 6000}};
  for (std::size_t fan = 0; fan < rows.size(); ++fan) {
    std::vector<double> numbers;
    for (const char* name : {"index", "enabled", "mode", "speed", "target", "min", "max"}) {
      numbers.push_back(entry(fans, fan, name).doubleValue());
    }
    EXPECT_EQ(numbers, rows[fan]) << fan;
  }
}

TEST(FanReadout, DictionaryHasItsNineEntriesInOrder) {
  std::vector<std::string> names;
  for (const auto& [name, value] : fansOf({count("1")})->at(0).dictionary()->entries()) {
    names.push_back(name.string());
  }
  EXPECT_THAT(names, ElementsAre("index", "enabled", "mode", "speed", "target", "min", "max",
                                 "temp", "location"));
}

TEST(FanReadout, WithoutACountThereAreNoFans) {
  EXPECT_EQ(fansOf({read("F0Ac", "fpe2", "2000.00")})->count(), 0U);
  EXPECT_EQ(fansOf({})->count(), 0U);
}

TEST(FanReadout, CountThatIsZeroOrFailedGivesNoFans) {
  EXPECT_EQ(fansOf({count("0")})->count(), 0U);
  EXPECT_EQ(fansOf({count("error e00002c2")})->count(), 0U);
  EXPECT_EQ(fansOf({count(Value())})->count(), 0U);
}

TEST(FanReadout, CountThatOccursTwiceHasItsLastValue) {
  EXPECT_EQ(fansOf({count("3"), count("1")})->count(), 1U);
}

TEST(FanReadout, BrokenCountGivesNoMoreFansThanTwoBytesCanName) {
  EXPECT_EQ(fansOf({count("-1")})->count(), 65536U);
  EXPECT_EQ(fansOf({count("2147483647")})->count(), 65536U);
  EXPECT_EQ(fansOf({count("65535")})->count(), 65535U);
}

TEST(FanReadout, DeliberateFansFromIndex15OnAreNotEnabledWhateverTheMachineSays) {
  const auto fans = fansOf({count("17"), read("FFMd", "ui8 ", "1"), read("FFEn", "ui8 ", "1")});
  ASSERT_EQ(fans->count(), 17U);
  EXPECT_EQ(entry(fans, 14, "enabled"), Value(1));
  EXPECT_EQ(entry(fans, 15, "enabled"), Value(0));
  EXPECT_EQ(entry(fans, 16, "enabled"), Value(0));
  EXPECT_EQ(entry(fans, 15, "mode"), Value(1));
}

TEST(FanReadout, EveryCallGivesNewMutableDictionaries) {
  const auto records = Array::make({count("1")});
  const auto first = fanDictionaries(*records, "55.00");
  first->at(0).dictionary()->set("speed", 1);
  EXPECT_NE(fanDictionaries(*records, "55.00")->at(0).dictionary(), first->at(0).dictionary());
  EXPECT_EQ(entry(fanDictionaries(*records, "55.00"), 0, "speed"), Value(0.0));
}

TEST(FanReadout, ElementsThatAreNoRecordsAreLeftOut) {
  EXPECT_EQ(fansOf({"no record", 7, count("1")})->count(), 1U);
}

// ---- mode --------------------------------------------------------------------------------------

TEST(FanReadout, FanWithOnlyTheLowerCaseModeKeyGetsItsModeFromIt) {
  EXPECT_EQ(entry(fansOf({count("1"), read("F0md", "ui8 ", "1")}), 0, "mode"), Value(1));
}

TEST(FanReadout, UpperCaseModeKeyWinsOverTheLowerCaseOne) {
  EXPECT_EQ(
      entry(fansOf({count("1"), read("F0Md", "ui8 ", "0"), read("F0md", "ui8 ", "1")}), 0, "mode"),
      Value(0));
  EXPECT_EQ(
      entry(fansOf({count("1"), read("F0md", "ui8 ", "0"), read("F0Md", "ui8 ", "1")}), 0, "mode"),
      Value(1));
}

TEST(FanReadout, FanWithoutAModeKeyHasMode0) {
  EXPECT_EQ(entry(fansOf({count("1")}), 0, "mode"), Value(0));
}

TEST(FanReadout, DeliberateModeKeyOfTypeUi16IsDividedBy4Too) {
  EXPECT_EQ(entry(fansOf({count("1"), read("F0Md", "ui16", "8")}), 0, "mode"), Value(2));
  EXPECT_EQ(entry(fansOf({count("1"), read("F0Md", "ui16", "1")}), 0, "mode"), Value(0));
}

// ---- speeds ------------------------------------------------------------------------------------

TEST(FanReadout, ActualSpeedOfTypeUi16Holding4800Shows1200) {
  const auto fans = fansOf({count("1"), read("F0Ac", "ui16", "4800")});
  EXPECT_EQ(entry(fans, 0, "speed"), Value(1200.0));
  EXPECT_TRUE(entry(fans, 0, "speed").isReal());
}

TEST(FanReadout, SpeedOfTypeFpe2OrFltIsTakenAsItWasDecoded) {
  for (const char* type : {"fpe2", "flt ", "ui8 ", "ui32"}) {
    EXPECT_EQ(entry(fansOf({count("1"), read("F0Ac", type, "4800.00")}), 0, "speed"), Value(4800.0))
        << type;
  }
}

TEST(FanReadout, Ui16ValueOf7BecomesTheText1AndSpeed1) {
  EXPECT_EQ(entry(fansOf({count("1"), read("F0Ac", "ui16", "7")}), 0, "speed"), Value(1.0));
  EXPECT_EQ(entry(fansOf({count("1"), read("F0Ac", "ui16", "-7")}), 0, "speed"), Value(-1.0));
}

TEST(FanReadout, EverySpeedAndLimitOfTypeUi16CountsInQuarters) {
  const auto fans = fansOf({count("1"), read("F0Tg", "ui16", "8000"), read("F0Mn", "ui16", "4804"),
                            read("F0Mx", "ui16", "24800")});
  EXPECT_EQ(entry(fans, 0, "target"), Value(2000.0));
  EXPECT_EQ(entry(fans, 0, "min"), Value(1201.0));
  EXPECT_EQ(entry(fans, 0, "max"), Value(6200.0));
}

TEST(FanReadout, SpeedsAreInSinglePrecision) {
  EXPECT_EQ(entry(fansOf({count("1"), read("F0Ac", "flt ", "1200.10")}), 0, "speed"),
            Value(1200.10F));
}

TEST(FanReadout, KeyOfAnotherFanIsNotTaken) {
  const auto fans = fansOf({count("2"), read("F0Ac", "fpe2", "2000.00")});
  EXPECT_EQ(entry(fans, 0, "speed"), Value(2000.0));
  EXPECT_EQ(entry(fans, 1, "speed"), Value(0.0));
}

TEST(FanReadout, KeyWithASuffixThatIsNotInTheListIsIgnored) {
  const auto fans = fansOf({count("1"), read("F0Sf", "fpe2", "3000.00"),
                            read("F0ac", "fpe2", "3000.00"), read("F0A", "fpe2", "3000.00"),
                            read("F0Acx", "fpe2", "3000.00"), read("F0", "fpe2", "3000.00")});
  for (const char* name : {"speed", "target", "min", "max"}) {
    EXPECT_EQ(entry(fans, 0, name), Value(0.0)) << name;
  }
}

TEST(FanReadout, KeyThatOccursTwiceHasItsLastValue) {
  EXPECT_EQ(
      entry(fansOf({count("1"), read("F0Ac", "fpe2", "1000.00"), read("F0Ac", "fpe2", "2000.00")}),
            0, "speed"),
      Value(2000.0));
}

TEST(FanReadout, FailedReadingCountsAs0) {
  const auto fans = fansOf({count("1"), read("F0Ac", "fpe2", "error e00002c2"),
                            read("F0Tg", "ui16", "error 84"), read("F0Md", "ui8 ", "error 84")});
  EXPECT_EQ(entry(fans, 0, "speed"), Value(0.0));
  EXPECT_EQ(entry(fans, 0, "target"), Value(0.0));
  EXPECT_EQ(entry(fans, 0, "mode"), Value(0));
}

}  // namespace
}  // namespace halvarin::test
