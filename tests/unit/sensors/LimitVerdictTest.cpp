#include "sensors/LimitVerdict.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

bool inside(std::string_view reading, std::string_view low, std::string_view high) {
  return isInsideLimits(reading, low, high, false, false);
}

TEST(LimitVerdict, BothLimitsAreInclusive) {
  EXPECT_TRUE(inside("10.00", "10", "20"));
  EXPECT_TRUE(inside("20.00", "10", "20"));
  EXPECT_FALSE(inside("9.99", "10", "20"));
  EXPECT_FALSE(inside("20.01", "10", "20"));
}

TEST(LimitVerdict, EmptyLimitOrReadingIsInside) {
  EXPECT_TRUE(inside("500", "", "20"));
  EXPECT_TRUE(inside("500", "10", ""));
  EXPECT_TRUE(inside("", "10", "20"));
}

TEST(LimitVerdict, HighLimitBelowTheLowOneIsAlwaysOutside) {
  for (const char* reading : {"0", "5", "15", "25"}) {
    EXPECT_FALSE(inside(reading, "20", "10")) << reading;
  }
  EXPECT_TRUE(inside("", "20", "10"));
}

TEST(LimitVerdict, MainsLimitsAreAppliedOnMainsOnly) {
  EXPECT_TRUE(isInsideLimits("500", "10", "20", true, false));
  EXPECT_FALSE(isInsideLimits("500", "10", "20", true, true));
  EXPECT_FALSE(isInsideLimits("500", "10", "20", false, false));
}

TEST(LimitVerdict, LeadingNumberCountsAndNoNumberIsZero) {
  EXPECT_TRUE(inside(" 15.5 oC", "10", "20"));
  EXPECT_FALSE(inside("0xab01", "10", "20"));
  EXPECT_TRUE(inside("0xab01", "0", "20"));
  EXPECT_TRUE(inside("5", "none", "20"));
}

TEST(LimitVerdict, NegativeNumbersCompareAsNumbers) {
  EXPECT_TRUE(inside("-5.00", "-10", "0"));
  EXPECT_FALSE(inside("-127.00", "0", "110"));
}

TEST(LimitVerdict, ReadingThatIsNoNumberIsOutside) {
  EXPECT_FALSE(inside("nan", "-1000", "1000"));
  EXPECT_FALSE(inside("inf", "-1000", "1000"));
  EXPECT_FALSE(inside("-inf", "-1000", "1000"));
}

}  // namespace
}  // namespace halvarin::test
