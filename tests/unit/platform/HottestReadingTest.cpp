#include "platform/machine/fans/HottestReading.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "platform/machine/ReadingCodec.h"
#include "platform/machine/ReadingMotion.h"
#include "tests/unit/platform/FanBench.h"

namespace halvarin::test {

namespace {

using platform::HottestReading;
using platform::KeyTable;
using platform::RecordedKey;

using namespace std::chrono_literals;

std::optional<double> hottestOf(Keys keys) {
  const KeyTable table(std::move(keys));
  return HottestReading(table, false).at(0s);
}

TEST(HottestReading, IsTheHighestOfTheTemperatures) {
  EXPECT_EQ(hottestOf({key("TC0P", "sp78", degreesBytes(40)), key("Tp01", "flt ", flt(61.5)),
                       key("TW0P", "sp78", degreesBytes(50))}),
            61.5);
}

TEST(HottestReading, LeavesOutKeysThatAreNoTemperatures) {
  EXPECT_EQ(hottestOf({key("TC0P", "sp78", degreesBytes(40)), key("F0Ac", "fpe2", fpe2(90)),
                       key("tC0P", "sp78", degreesBytes(60)), key("VD0R", "flt ", flt(70)),
                       key("TC1P", "ui16", {0, 80}), key("TC2P", "hex_", {60, 0})}),
            40);
}

TEST(HottestReading, LeavesOutReadingsThatCannotBe) {
  for (const double odd : {150.0, 1e9, 0.0, -127.0}) {
    EXPECT_EQ(hottestOf({key("TC0P", "sp78", degreesBytes(20)), key("Tp01", "flt ", flt(odd))}), 20)
        << odd;
  }
  for (const std::uint8_t third : Bytes{0x80, 0xC0}) {  // infinite, not a number
    EXPECT_EQ(hottestOf({key("TC0P", "sp78", degreesBytes(20)),
                         key("Tp01", "flt ", {0x00, 0x00, third, 0x7F})}),
              20);
  }
  EXPECT_EQ(hottestOf({key("Tp01", "flt ", flt(149.5))}), 149.5);
}

TEST(HottestReading, LeavesOutKeysThatCannotBeRead) {
  RecordedKey refusing = key("TC1P", "sp78", degreesBytes(60));
  refusing.result = 0x85;
  RecordedKey failing = key("TC2P", "sp78", degreesBytes(70));
  failing.status = kBadArgument;
  EXPECT_EQ(hottestOf({key("TC0P", "sp78", degreesBytes(40)), refusing, failing}), 40);
}

TEST(HottestReading, IsAbsentWhereThereIsNone) {
  EXPECT_EQ(hottestOf({}), std::nullopt);
  EXPECT_EQ(hottestOf({key("TC0P", "sp78", {0x81, 0x00})}), std::nullopt);
}

TEST(HottestReading, LooksAgainOnlyWhenToldThatAKeyChanged) {
  KeyTable table({key("TC0P", "sp78", degreesBytes(40))});
  HottestReading hottest(table, false);
  EXPECT_EQ(hottest.at(0s), 40);
  table.find(platform::fourBytes("TC0P"))->bytes = degreesBytes(60);
  EXPECT_EQ(hottest.at(1h), 40);
  hottest.keyChanged();
  EXPECT_EQ(hottest.at(1h), 60);
}

TEST(HottestReading, LooksAgainAfter50MillisecondsWhereReadingsMove) {
  const RecordedKey heat = key("Tp01", "flt ", flt(40));
  const KeyTable table({heat});
  HottestReading hottest(table, true);
  EXPECT_EQ(hottest.at(0s), 40);
  EXPECT_EQ(hottest.at(49ms), 40);
  const auto later = platform::decodeReal(heat.type, platform::movedReading(heat, 50ms));
  EXPECT_NE(later, 40);
  EXPECT_EQ(hottest.at(50ms), later);
}

TEST(HottestReading, TakesAHeldReadingAsItIsWhereOthersMove) {
  KeyTable table({key("TC0P", "sp78", degreesBytes(40)), key("Tp01", "flt ", flt(60))});
  table.hold(platform::fourBytes("Tp01"));
  HottestReading hottest(table, true);
  for (int second = 0; second < 40; ++second) {
    EXPECT_EQ(hottest.at(std::chrono::seconds(second)), 60);
  }
}

}  // namespace

}  // namespace halvarin::test
