#include "selftest/TimeText.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

TEST(TimeText, StampHasLeadingZerosInEveryPart) {
  EXPECT_EQ(stampText({2024, 3, 7, 8, 5, 9, 4}), "2024-03-07 08:05:09.004");
  EXPECT_EQ(stampText({2024, 3, 7, 0, 0, 0, 0}), "2024-03-07 00:00:00.000");
  EXPECT_EQ(stampText({987, 3, 7, 8, 5, 9, 40}), "0987-03-07 08:05:09.040");
}

TEST(TimeText, StampHasAllDigitsOfFullParts) {
  EXPECT_EQ(stampText({2031, 12, 31, 23, 59, 58, 999}), "2031-12-31 23:59:58.999");
}

TEST(TimeText, MinuteIsTenDigitsWithoutTheCentury) {
  EXPECT_EQ(minuteText({2024, 3, 7, 8, 5, 59, 999}), "2403070805");
  EXPECT_EQ(minuteText({2031, 12, 31, 23, 59, 58, 0}), "3112312359");
  EXPECT_EQ(minuteText({2100, 1, 1, 0, 0, 0, 0}), "0001010000");
}

}  // namespace
}  // namespace halvarin::test
