#include "host/PassView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "base/Array.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

DictionaryRef record(const char* key, const char* value, Value inside, int error = 0) {
  return std::make_shared<Dictionary>(Dictionary::Entries{{"key", key},
                                                          {"value", value},
                                                          {"description", key},
                                                          {"isInsideLimits", std::move(inside)},
                                                          {"error", error}});
}

DictionaryRef passOf(std::vector<Value> temps, std::vector<Value> voltages = {}) {
  return std::make_shared<Dictionary>(
      Dictionary::Entries{{"powerSource", "AC Power"},
                          {"fans", Array::make({Value(record("fan", "0", false))})},
                          {"temps", Array::make(std::move(temps))},
                          {"voltage", Array::make(std::move(voltages))}});
}

std::vector<std::string> keysOf(const std::vector<DictionaryRef>& records) {
  std::vector<std::string> keys;
  for (const DictionaryRef& each : records) {
    keys.push_back(each->get("key").text().string());
  }
  return keys;
}

TEST(PassView, HottestAreOrderedByTheirDegrees) {
  const auto pass = passOf({record("T1", "9.50", true), record("T2", "100.25", true),
                            record("T3", "45.00", true), record("T4", "45.00", true)});
  EXPECT_THAT(keysOf(host::hottestOf(pass->get("temps"), 3)), ElementsAre("T2", "T3", "T4"));
  EXPECT_THAT(keysOf(host::hottestOf(pass->get("temps"), 9)), ElementsAre("T2", "T3", "T4", "T1"));
}

TEST(PassView, AReadingThatFailedIsNotTheHottest) {
  const auto pass =
      passOf({record("T1", "error e00002c0", true, -536870208), record("T2", "20.00", true)});
  EXPECT_THAT(keysOf(host::hottestOf(pass->get("temps"), 5)), ElementsAre("T2"));
  EXPECT_EQ(host::unreadIn(*pass), 1U);
}

TEST(PassView, AReadingThatIsNoNumberHidesNoOther) {
  const auto pass = passOf({record("T1", "50.00", true), record("T2", "nan", false),
                            record("T3", "90.00", true), record("T4", "inf", true)});
  EXPECT_THAT(keysOf(host::hottestOf(pass->get("temps"), 5)), ElementsAre("T4", "T3", "T1"));
}

TEST(PassView, OutsideAreAllCategoriesButTheFans) {
  const auto pass = passOf({record("T1", "20.00", true), record("T2", "200.00", false)},
                           {record("V1", "0.10", false), record("V2", "0.10", Value())});
  EXPECT_THAT(keysOf(host::outsideOf(*pass)), ElementsAre("T2", "V1"));
}

TEST(PassView, FailedAreThoseNeverJudgedToo) {
  const auto pass = passOf({record("CPU AXG", "0.00", false)},
                           {record("V1", "0.10", false), record("V2", "0.10", Value())});
  EXPECT_THAT(keysOf(host::failedOf(*pass)), ElementsAre("V1", "V2"));
  EXPECT_THAT(keysOf(host::outsideOf(*pass)), ElementsAre("CPU AXG", "V1"));
}

TEST(PassView, AnEmptyPassHasNothingToShow) {
  const auto pass = passOf({});
  EXPECT_THAT(host::hottestOf(pass->get("temps"), 5), IsEmpty());
  EXPECT_THAT(host::outsideOf(*pass), IsEmpty());
  EXPECT_EQ(host::unreadIn(*pass), 0U);
}

}  // namespace
}  // namespace halvarin::test
