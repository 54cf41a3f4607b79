#include "platform/LocalTime.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>

#include "tests/support/TimeZone.h"

namespace halvarin::test {
namespace {

using platform::LocalTime;
using platform::localTime;
using std::chrono::milliseconds;

using Parts = std::array<int, 7>;

Parts parts(const LocalTime& time) {
  return {time.year, time.month, time.day, time.hour, time.minute, time.second, time.millisecond};
}

Parts atMilliseconds(std::int64_t sinceEpoch) {
  return parts(localTime(std::chrono::system_clock::time_point(milliseconds(sinceEpoch))));
}

TEST(LocalTime, CountsFromTheBeginningOf1970) {
  const TimeZone zone("UTC0");
  EXPECT_EQ(atMilliseconds(0), (Parts{1970, 1, 1, 0, 0, 0, 0}));
  EXPECT_EQ(atMilliseconds(1709798709004), (Parts{2024, 3, 7, 8, 5, 9, 4}));
}

TEST(LocalTime, KnowsLeapDaysAndTheLastMomentOfAYear) {
  const TimeZone zone("UTC0");
  EXPECT_EQ(atMilliseconds(1709164800000), (Parts{2024, 2, 29, 0, 0, 0, 0}));
  EXPECT_EQ(atMilliseconds(951782400000), (Parts{2000, 2, 29, 0, 0, 0, 0}));
  EXPECT_EQ(atMilliseconds(1735689599999), (Parts{2024, 12, 31, 23, 59, 59, 999}));
}

TEST(LocalTime, CountsMillisecondsUpwardsBefore1970Too) {
  const TimeZone zone("UTC0");
  EXPECT_EQ(atMilliseconds(-1), (Parts{1969, 12, 31, 23, 59, 59, 999}));
  EXPECT_EQ(atMilliseconds(-1999), (Parts{1969, 12, 31, 23, 59, 58, 1}));
}

TEST(LocalTime, LeavesOutAMillisecondThatHasOnlyBegun) {
  const TimeZone zone("UTC0");
  const auto moment = std::chrono::system_clock::time_point(milliseconds(1709798709004)) +
                      std::chrono::microseconds(999);
  EXPECT_EQ(parts(localTime(moment)), (Parts{2024, 3, 7, 8, 5, 9, 4}));
}

TEST(LocalTime, IsTheTimeOfTheComputersZone) {
  {
    const TimeZone ahead("XST-5:30");
    EXPECT_EQ(atMilliseconds(1735689599999), (Parts{2025, 1, 1, 5, 29, 59, 999}));
  }
  const TimeZone behind("XST8");
  EXPECT_EQ(atMilliseconds(1709164800000), (Parts{2024, 2, 28, 16, 0, 0, 0}));
}

TEST(LocalTime, FollowsSummerTime) {
  const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(atMilliseconds(1711846799000), (Parts{2024, 3, 31, 1, 59, 59, 0}));
  EXPECT_EQ(atMilliseconds(1711846800000), (Parts{2024, 3, 31, 3, 0, 0, 0}));
}

TEST(LocalTime, IsThePresentWhenNothingIsSaid) {
  const TimeZone zone("UTC0");
  const std::time_t before = std::time(nullptr);
  const LocalTime now = localTime();
  std::tm parts{};
  parts.tm_year = now.year - 1900;
  parts.tm_mon = now.month - 1;
  parts.tm_mday = now.day;
  parts.tm_hour = now.hour;
  parts.tm_min = now.minute;
  parts.tm_sec = now.second;
  const std::time_t told = std::mktime(&parts);
  // The coarse clock of the first reading may lag by a tick.
  EXPECT_GE(told, before);
  EXPECT_LE(told, std::time(nullptr) + 1);
  EXPECT_GE(now.millisecond, 0);
  EXPECT_LE(now.millisecond, 999);
}

}  // namespace
}  // namespace halvarin::test
