#include "sensors/CategoryReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "base/Exception.h"
#include "tests/support/CapturedLog.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;

Data thirtyTwo(std::initializer_list<std::uint8_t> first) {
  std::vector<std::uint8_t> bytes(first);
  bytes.resize(32);
  return Data(bytes);
}

/// A record as a successful read of it leaves it.
DictionaryRef readRecord(const char* key, const char* type, std::int64_t size, std::int64_t value,
                         const Data& bytes = thirtyTwo({})) {
  auto record = Dictionary::make();
  record->set("key", key);
  record->set("dataType", type);
  record->set("dataSize", size);
  record->set("dataBytes", bytes);
  record->set("value", value);
  record->set("error", 0);
  return record;
}

/// Reads by handing each record of a list back as it stands.
KeyReader readerOf(const ArrayRef& records) {
  return [records](std::string_view key) -> DictionaryRef {
    for (const Value& each : records->elements()) {
      if (each.dictionary()->get("key").textView() == key) {
        return each.dictionary();
      }
    }
    return nullptr;
  };
}

TEST(CategoryReader, PutsDisplayTextAndVerdictIntoTheRecord) {
  const auto record = readRecord("TC0P", "sp78", 2, 0x2880);
  const auto records = Array::make({record});
  readCategory(*records, readerOf(records), {});
  EXPECT_EQ(record->get("value"), Value("40.50"));
  EXPECT_EQ(record->get("isInsideLimits"), Value(true));
}

TEST(CategoryReader, FailedReadShowsItsStatusAndGetsNoVerdict) {
  const auto record = readRecord("TC0P", "sp78", 2, 0x2880);
  record->set("error", 132);
  const auto records = Array::make({record});
  readCategory(*records, readerOf(records), {});
  EXPECT_EQ(record->get("value"), Value("error 84"));
  EXPECT_FALSE(record->has("isInsideLimits"));
}

TEST(CategoryReader, FailedReadKeepsTheVerdictOfTheLastGoodPass) {
  const auto record = readRecord("TC0P", "sp78", 2, 0x7F00);
  record->set("low limit", "0");
  record->set("high limit", "100");
  const auto records = Array::make({record});
  readCategory(*records, readerOf(records), {});
  EXPECT_EQ(record->get("isInsideLimits"), Value(false));
  record->set("error", 132);
  readCategory(*records, readerOf(records), {});
  EXPECT_EQ(record->get("value"), Value("error 84"));
  EXPECT_EQ(record->get("isInsideLimits"), Value(false));
}

TEST(CategoryReader, KeyThatCannotBeFoundCountsAsStatusZero) {
  const auto record = readRecord("TC0P", "sp78", 2, 0x2880);
  const auto records = Array::make({record});
  readCategory(*records, [](std::string_view) { return nullptr; }, {});
  EXPECT_EQ(record->get("value"), Value("error 0"));
}

TEST(CategoryReader, RecordWithoutAKeyIsNotReadByAnyKey) {
  const auto nameless = Dictionary::make();
  nameless->set("index", "7");
  int asked = 0;
  readCategory(*Array::make({nameless}),
               [&](std::string_view) {
                 ++asked;
                 return nameless;
               },
               {});
  EXPECT_EQ(asked, 0);
  EXPECT_EQ(nameless->get("value"), Value("error 0"));
}

TEST(CategoryReader, LogsUi32KeysOnlyWhenAsked) {
  CapturedLog log;
  const auto records =
      Array::make({readRecord("AAAA", "ui32", 4, 1), readRecord("AAAB", "ui16", 2, 1),
                   readRecord("AAAC", "ui32", 4, 1), readRecord("AAAD", "ui32x", 4, 1)});
  readCategory(*records, readerOf(records), {});
  EXPECT_THAT(log.lines(), ElementsAre());
  readCategory(*records, readerOf(records), {.onMains = false, .logUi32 = true});
  EXPECT_THAT(log.lines(), ElementsAre("ui32 AAAA", "ui32 AAAC"));
}

TEST(CategoryReader, FaultEndsTheWalkAndIsLoggedInThreeLines) {
  CapturedLog log;
  const auto before = readRecord("TC0A", "sp78", 2, 0x2880);
  const auto faulty = readRecord("TC0B", "sp7", 2, 0x2880, thirtyTwo({0x28, 0x80}));
  const auto after = readRecord("TC0C", "sp78", 2, 0x2880);
  const auto records = Array::make({before, faulty, after});
  readCategory(*records, readerOf(records), {});
  EXPECT_EQ(before->get("value"), Value("40.50"));
  EXPECT_EQ(faulty->get("value"), Value(0x2880));
  EXPECT_FALSE(faulty->has("isInsideLimits"));
  EXPECT_EQ(after->get("value"), Value(0x2880));
  EXPECT_THAT(
      log.lines(),
      ElementsAre(
          "exception  key: TC0B  name: NSRangeException   reason: the data type \"sp7\" has "
          "no fourth character   class: Number   length: 0 value: 10368",
          "exception error: 0x0  databytes(32):"
          "<2880000000000000000000000000000000000000000000000000000000000000>",
          " "));
}

TEST(CategoryReader, FaultBeforeAReadingLogsWhatThereIs) {
  CapturedLog log;
  const auto records = Array::make({readRecord("TC0A", "sp78", 2, 1)});
  readCategory(*records, [](std::string_view) -> DictionaryRef { throw Exception("Some", "why"); },
               {});
  EXPECT_THAT(log.lines(),
              ElementsAre("exception  key: TC0A  name: Some   reason: why   class: (null)   "
                          "length: 0 value: (null)",
                          "exception error: 0x0  databytes(0):(null)", " "));
}

TEST(CategoryReader, ExceptionsOfOtherKindsPassThrough) {
  const auto records = Array::make({readRecord("TC0A", "sp78", 2, 1)});
  const auto reader = [](std::string_view) -> DictionaryRef { throw std::runtime_error("other"); };
  EXPECT_THROW(readCategory(*records, reader, {}), std::runtime_error);
}

}  // namespace
}  // namespace halvarin::test
