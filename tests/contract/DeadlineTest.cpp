#include "platform/posix/Deadline.h"

#include <gtest/gtest.h>

#include <chrono>

#include "tests/contract/ChosenClock.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::Clock;
using platform::deadlineAfter;
using platform::RealMoment;
using Steady = std::chrono::steady_clock;

void expectDeadline(Clock::Duration time, Steady::duration fromNow) {
  const auto before = Steady::now();
  const RealMoment deadline = deadlineAfter(time);
  EXPECT_GE(deadline, before + fromNow);
  EXPECT_LE(deadline, Steady::now() + fromNow);
}

TEST(Deadline, LiesAsFarAheadAsTheTimeWithoutAChosenClock) {
  expectDeadline(90s, 90s);
  expectDeadline(0s, 0s);
  expectDeadline(-5s, -5s);
}

TEST(Deadline, LiesNearerByTheFactorOfTheClock) {
  const ChosenClock clock(10);
  expectDeadline(90s, 9s);
}

TEST(Deadline, IsNowWhereTheTimeStandsStill) {
  const ChosenClock clock(0);
  expectDeadline(24h, 0s);
}

TEST(Deadline, OfATimeTooLongToAddIsTheLastMoment) {
  EXPECT_EQ(deadlineAfter(Clock::Duration::max()), RealMoment::max());
  const ChosenClock clock(1e-9);
  EXPECT_EQ(deadlineAfter(24h), RealMoment::max());
}

TEST(Deadline, OfTheShortestTimeIsOver) {
  EXPECT_LT(deadlineAfter(Clock::Duration::min()), Steady::now());
}

}  // namespace
}  // namespace halvarin::test
