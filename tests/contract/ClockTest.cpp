#include "platform/Clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::Clock;
using platform::ScaledClock;
using Steady = std::chrono::steady_clock;

// What the conversions to and from seconds may cost.
constexpr Clock::Duration kRounding = 1us;

/// How far a clock and the computer's own clock go while an action runs. The clock's readings lie
/// within the real ones, or outside of them, so that a bound holds however busy the computer is.
struct Elapsed {
  Clock::Duration scaled;
  Clock::Duration real;
};

template <typename Action>
Elapsed measuredWithin(Clock& clock, const Action& action) {
  const auto real = Steady::now();
  const Clock::Duration scaled = clock.now();
  action();
  const Clock::Duration scaledElapsed = clock.now() - scaled;
  return {scaledElapsed, Steady::now() - real};
}

template <typename Action>
Elapsed measuredAround(Clock& clock, const Action& action) {
  const Clock::Duration scaled = clock.now();
  const auto real = Steady::now();
  action();
  const Clock::Duration realElapsed = Steady::now() - real;
  return {clock.now() - scaled, realElapsed};
}

void pass() {
  std::this_thread::sleep_for(1ms);
}

TEST(Clock, AtFactorOneGoesAsTheComputersClock) {
  ScaledClock clock;
  const Elapsed within = measuredWithin(clock, pass);
  EXPECT_GE(within.scaled, 1ms - kRounding);
  EXPECT_LE(within.scaled, within.real + kRounding);
  const Elapsed around = measuredAround(clock, pass);
  EXPECT_GE(around.scaled, around.real - kRounding);
}

TEST(Clock, AtFactorTenGoesTenTimesAsFast) {
  ScaledClock clock(10);
  const Elapsed within = measuredWithin(clock, pass);
  EXPECT_GE(within.scaled, 10ms - kRounding);
  EXPECT_LE(within.scaled, 10 * within.real + kRounding);
  const Elapsed around = measuredAround(clock, pass);
  EXPECT_GE(around.scaled, 10 * around.real - kRounding);
}

TEST(Clock, AtFactorZeroStandsStill) {
  ScaledClock clock(0);
  const Clock::Duration before = clock.now();
  pass();
  EXPECT_EQ(clock.now(), before);
}

TEST(Clock, AtFactorZeroNoWaitTakesTime) {
  ScaledClock clock(0);
  const auto before = Steady::now();
  clock.sleepFor(24h);
  clock.sleepFor(1ns);
  EXPECT_LT(Steady::now() - before, 1h);
}

TEST(Clock, AWaitLastsItsTimeOnTheClockItself) {
  for (const double factor : {1.0, 10.0, 1000.0}) {
    SCOPED_TRACE(factor);
    ScaledClock clock(factor);
    const Elapsed elapsed = measuredWithin(clock, [&] { clock.sleepFor(2ms); });
    EXPECT_GE(elapsed.scaled, 2ms - kRounding);
  }
}

TEST(Clock, AWaitAtFactorTenTakesATenthOfItsTime) {
  ScaledClock clock(10);
  const auto before = Steady::now();
  clock.sleepFor(20ms);
  EXPECT_GE(Steady::now() - before, 2ms - kRounding);
  // A minute at a factor of a million is 60 microseconds; without the factor it would be a minute.
  ScaledClock fast(1e6);
  const auto beforeFast = Steady::now();
  fast.sleepFor(1min);
  EXPECT_LT(Steady::now() - beforeFast, 30s);
}

TEST(Clock, AWaitOfNoTimeOrLessComesBackAtOnce) {
  ScaledClock clock;
  const auto before = Steady::now();
  clock.sleepFor(0ns);
  clock.sleepFor(-1h);
  EXPECT_LT(Steady::now() - before, 30min);
}

TEST(Clock, ARealTimeIsTheTimeDividedByTheFactor) {
  EXPECT_EQ(ScaledClock().realTime(90s), 90s);
  EXPECT_EQ(ScaledClock(10).realTime(90s), 9s);
  EXPECT_EQ(ScaledClock(0.5).realTime(90s), 180s);
  EXPECT_EQ(ScaledClock(10).realTime(19ns), 1ns);
  EXPECT_EQ(ScaledClock(10).realTime(-90s), -9s);
}

TEST(Clock, ARealTimeIsNothingWhereTheTimeStandsStill) {
  EXPECT_EQ(ScaledClock(0).realTime(24h), 0s);
  EXPECT_EQ(ScaledClock(0).realTime(Clock::Duration::max()), 0s);
}

TEST(Clock, ARealTimeThatNoDurationCanHoldIsTheLongestOrTheShortest) {
  EXPECT_EQ(ScaledClock().realTime(Clock::Duration::max()), Clock::Duration::max());
  EXPECT_EQ(ScaledClock().realTime(Clock::Duration::min()), Clock::Duration::min());
  EXPECT_EQ(ScaledClock(1e-9).realTime(24h), Clock::Duration::max());
  EXPECT_EQ(ScaledClock(1e-9).realTime(-24h), Clock::Duration::min());
}

TEST(Clock, NeverRunsBackwards) {
  ScaledClock clock(10);
  Clock::Duration last = clock.now();
  EXPECT_GE(last, 0ns);
  for (int i = 0; i < 10000; ++i) {
    const Clock::Duration now = clock.now();
    ASSERT_GE(now, last);
    last = now;
  }
}

TEST(Clock, ThreadsMayAskAndWaitAtOnce) {
  ScaledClock clock(1000);
  std::atomic<int> backwards{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 20; ++round) {
        const Clock::Duration before = clock.now();
        clock.sleepFor(10ms);
        backwards += clock.now() < before + 10ms - kRounding ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(backwards, 0);
}

}  // namespace
}  // namespace halvarin::test
