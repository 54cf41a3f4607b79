// The location of a fan and the temperature that its dictionary names.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Dictionary.h"
#include "sensors/FanReadout.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using namespace std::string_view_literals;

Value count(const char* fans) {
  return std::make_shared<Dictionary>(Dictionary::Entries{{"key", "FNum"}, {"value", fans}});
}

/// The location of a fan whose identification record delivered these bytes, the first first.
Value locationOf(const std::vector<std::uint8_t>& bytes) {
  const Value identification = std::make_shared<Dictionary>(Dictionary::Entries{
      {"key", "F0ID"}, {"dataType", "{fds"}, {"dataBytes", Data(bytes)}, {"value", ""}});
  const auto fans = fanDictionaries(*Array::make({count("1"), identification}), "0");
  return fans->at(0).dictionary()->get("location");
}

std::vector<std::uint8_t> named(std::string_view name) {
  std::vector<std::uint8_t> bytes{0, 1, 10, 0};
  bytes.insert(bytes.end(), name.begin(), name.end());
  bytes.resize(32);
  return bytes;
}

TEST(FanLocation, IsTheNameFromByte4UpToTheFirstZeroByteWithItsBlanks) {
  EXPECT_EQ(locationOf(named("Left side  ")), Value("Left side  "));
  EXPECT_EQ(locationOf(named("Exhaust\0more"sv)), Value("Exhaust"));
  EXPECT_EQ(locationOf(named("L\xC3\xBC"
                             "fter")),
            Value("L\xC3\xBC"
                  "fter"));
}

TEST(FanLocation, IsTheFallbackWhenTheNameIsNoUtf8) {
  EXPECT_EQ(locationOf(named("Left\xFFside")), Value("Fan0"));
  EXPECT_EQ(locationOf(named("\xC3")), Value("Fan0"));
}

TEST(FanLocation, IsEmptyWhenTheNameIs) {
  EXPECT_EQ(locationOf(named("")), Value(""));
}

TEST(FanLocation, IsTheFallbackWhenTheRecordHasFewerThanFiveBytes) {
  EXPECT_EQ(locationOf({}), Value("Fan0"));
  EXPECT_EQ(locationOf({0, 1, 10, 0}), Value("Fan0"));
  EXPECT_EQ(locationOf({0, 1, 10, 0, 'A'}), Value("A"));
}

TEST(FanLocation, EndsWithTheRecordWhenThereIsNoZeroByte) {
  auto bytes = named(std::string(28, 'x'));
  EXPECT_EQ(locationOf(bytes), Value(std::string(28, 'x')));
}

TEST(FanLocation, IsTheFallbackWhenALaterRecordOfTheFanHasNoName) {
  const auto identification = [](const std::vector<std::uint8_t>& bytes) -> Value {
    return std::make_shared<Dictionary>(
        Dictionary::Entries{{"key", "F0ID"}, {"dataBytes", Data(bytes)}});
  };
  const auto fans = fanDictionaries(
      *Array::make({count("1"), identification(named("Left")), identification(named("\xFF"))}),
      "0");
  EXPECT_EQ(fans->at(0).dictionary()->get("location"), Value("Fan0"));
}

TEST(FanLocation, KeysOfFan10BeginWithFAAndItsFallbackIsFana) {
  const Value speed = std::make_shared<Dictionary>(
      Dictionary::Entries{{"key", "FAAc"}, {"dataType", "fpe2"}, {"value", "3000.00"}});
  const auto fans = fanDictionaries(*Array::make({count("12"), speed}), "0");
  ASSERT_EQ(fans->count(), 12U);
  EXPECT_EQ(fans->at(10).dictionary()->get("speed"), Value(3000.0));
  EXPECT_EQ(fans->at(10).dictionary()->get("location"), Value("Fana"));
  EXPECT_EQ(fans->at(9).dictionary()->get("location"), Value("Fan9"));
  EXPECT_EQ(fans->at(11).dictionary()->get("speed"), Value(0.0));
}

// ---- temperatures ------------------------------------------------------------------------------

ArrayRef temperatures(const std::vector<Value>& values) {
  std::vector<Value> records;
  for (const Value& value : values) {
    auto record = Dictionary::make();
    record->set("value", value);
    records.emplace_back(record);
  }
  return Array::make(records);
}

std::vector<std::string> sorted(const std::vector<Value>& values) {
  std::vector<std::string> texts;
  for (const Value& each : hottestFirst(*temperatures(values))->elements()) {
    texts.push_back(each.dictionary()->get("value").description());
  }
  return texts;
}

TEST(HottestFirst, Of45And102And99TheHottestIs102) {
  EXPECT_THAT(sorted({"45.5", "102.0", "99.9"}), ElementsAre("102.0", "99.9", "45.5"));
  const auto records = temperatures({"45.5", "102.0", "99.9"});
  EXPECT_EQ(hottestValue(*hottestFirst(*records)), Value("102.0"));
}

TEST(HottestFirst, DigitsAreComparedAsNumbers) {
  EXPECT_THAT(sorted({"99.50", "100.25", "9.75"}), ElementsAre("100.25", "99.50", "9.75"));
}

TEST(HottestFirst, DeliberateFractionsAreComparedAsWholeNumbers) {
  EXPECT_THAT(sorted({"45.5", "45.25"}), ElementsAre("45.25", "45.5"));
}

TEST(HottestFirst, DeliberateFailedReadingsComeBeforeAllOthers) {
  EXPECT_THAT(sorted({"102.00", "error e00002c2", "99.90"}),
              ElementsAre("error e00002c2", "102.00", "99.90"));
}

TEST(HottestFirst, NegativeReadingsAndEmptyOnesComeLast) {
  EXPECT_THAT(sorted({"-127.00", "", "0.00"}), ElementsAre("0.00", "-127.00", ""));
}

TEST(HottestFirst, EqualReadingsKeepTheirOrder) {
  const auto records = temperatures({"40.00", "50.00", "40.00", "50.00"});
  const auto hottest = hottestFirst(*records);
  EXPECT_EQ(hottest->at(0), records->at(1));
  EXPECT_EQ(hottest->at(1), records->at(3));
  EXPECT_EQ(hottest->at(2), records->at(0));
  EXPECT_EQ(hottest->at(3), records->at(2));
}

TEST(HottestFirst, GivesANewArrayOfTheSameRecordsAndLeavesTheOldOne) {
  const auto records = temperatures({"40.00", "50.00"});
  const auto hottest = hottestFirst(*records);
  EXPECT_NE(hottest, records);
  EXPECT_EQ(hottest->at(0).dictionary(), records->at(1).dictionary());
  EXPECT_EQ(records->at(0).dictionary()->get("value"), Value("40.00"));
}

TEST(HottestValue, IsTheText0WithoutTemperatures) {
  EXPECT_EQ(hottestValue(*Array::make()), Value("0"));
  EXPECT_EQ(hottestValue(*temperatures({Value()})), Value("0"));
}

TEST(HottestValue, IsTheSameForEveryFanAndPassedOnAsItStands) {
  for (const Value& hottest : {Value("102.00"), Value("error 84"), Value(40)}) {
    const auto fans = fanDictionaries(*Array::make({count("2")}), hottest);
    EXPECT_EQ(fans->at(0).dictionary()->get("temp"), hottest);
    EXPECT_EQ(fans->at(1).dictionary()->get("temp"), hottest);
  }
}

}  // namespace
}  // namespace halvarin::test
