#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "selftest/FanTestMachine.h"
#include "tests/unit/selftest/FanTestRuns.h"

// The states that let a fan settle, and when a fan has reached the speed that was set.

namespace halvarin::test {
namespace {

using State = FanTestState;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
const FanTestCommands kNoCommands;

// ---- rah_max, rah_min --------------------------------------------------------------------------

/// One of the two speeds that a fan settles at.
struct Goal {
  const char* name;
  State state;
  std::int32_t rpm;
  bool FanTestRun::*hit;
  std::int32_t FanTestRun::*measuredRpm;
  State next;

  friend void PrintTo(const Goal& goal, std::ostream* out) { *out << goal.name; }
};

class FanTestSettleState : public testing::TestWithParam<Goal> {
 protected:
  /// A run that has measured nothing at this speed.
  [[nodiscard]] static FanTestRun runWith(std::int32_t counter) {
    FanTestRun run = runIn(GetParam().state, counter);
    run.*GetParam().measuredRpm = 0;
    run.*GetParam().hit = false;
    return run;
  }

  /// The same one with the fan at the speed last set.
  [[nodiscard]] static FanTestRun reachedRunWith(std::int32_t counter) {
    FanTestRun run = runWith(counter);
    run.lastSetRpm = 4000;
    return run;
  }

  /// A fan that has kept the target.
  [[nodiscard]] static FanReading fanAt(double speedRpm) {
    return fanShowing(1, GetParam().rpm, speedRpm);
  }

  static void expectEnd(const FanTestRun& run, const FanReading& fan, std::int32_t measured) {
    FanTestRun next = sampled(run, fan);
    next.*GetParam().measuredRpm = measured;
    next.state = GetParam().next;
    next.counter = 32;
    const FanTestStep step = takeFanTestSample(run, fan);
    EXPECT_EQ(step.run, next) << run.counter;
    EXPECT_EQ(step.commands, kNoCommands) << run.counter;
  }
};

TEST_P(FanTestSettleState, DeliberateFirstReachedSampleCapturesTheSpeedWithoutCounting) {
  for (const std::int32_t counter : {32, 2, 1, 0, -1}) {
    const FanTestRun run = reachedRunWith(counter);
    FanTestRun next = sampled(run, fanAt(4000));
    next.reached = true;
    next.*GetParam().measuredRpm = 4000;
    next.*GetParam().hit = true;
    const FanTestStep step = takeFanTestSample(run, fanAt(4000));
    EXPECT_EQ(step.run, next) << counter;
    EXPECT_EQ(step.commands, kNoCommands) << counter;
  }
}

TEST_P(FanTestSettleState, CapturedSpeedIsTruncatedTowardZero) {
  FanTestRun run = reachedRunWith(32);
  run.lastSetRpm = 6000;
  EXPECT_EQ(takeFanTestSample(run, fanAt(5999.9)).run.*GetParam().measuredRpm, 5999);
  run.lastSetRpm = 50;
  EXPECT_EQ(takeFanTestSample(run, fanAt(-1.9)).run.*GetParam().measuredRpm, -1);
}

TEST_P(FanTestSettleState, SampleThatCapturesDoesNotCommandAFanThatLostItsTarget) {
  const FanTestStep step = takeFanTestSample(reachedRunWith(20), fanShowing(0, 3000));
  EXPECT_NE(step.run.*GetParam().measuredRpm, 0);
  EXPECT_EQ(step.commands, kNoCommands);
}

TEST_P(FanTestSettleState, SecondReachedSampleCountsAndKeepsWhatTheFirstCaptured) {
  const FanTestRun captured = takeFanTestSample(reachedRunWith(20), fanAt(4000)).run;
  FanTestRun next = sampled(captured, fanAt(4010));
  next.counter = 19;
  EXPECT_EQ(takeFanTestSample(captured, fanAt(4010)).run, next);
}

TEST_P(FanTestSettleState, DeliberateCaptureBelow1CountsAsNoneAndTheStateDoesNotEnd) {
  FanTestRun run = reachedRunWith(1);
  run.lastSetRpm = 50;
  for (int sample = 0; sample < 1000; ++sample) {
    run = takeFanTestSample(run, fanAt(0.5)).run;
    ASSERT_EQ(run.state, GetParam().state) << sample;
    ASSERT_EQ(run.counter, 1) << sample;
    ASSERT_EQ(run.*GetParam().measuredRpm, 0) << sample;
    ASSERT_TRUE(run.*GetParam().hit) << sample;
  }
  EXPECT_EQ(takeFanTestSample(run, fanAt(1)).run.*GetParam().measuredRpm, 1);
}

TEST_P(FanTestSettleState, CountsWhileTheSpeedIsNotReached) {
  for (const std::int32_t counter : {32, 3, 2}) {
    const FanTestRun run = runWith(counter);
    FanTestRun next = sampled(run, fanAt(4000));
    next.counter = counter - 1;
    const FanTestStep step = takeFanTestSample(run, fanAt(4000));
    EXPECT_EQ(step.run, next) << counter;
    EXPECT_EQ(step.commands, kNoCommands) << counter;
  }
}

TEST_P(FanTestSettleState, DeliberateEndsFromACounterOf1OnWithTheSpeedOfItsLastSample) {
  for (const std::int32_t counter : {1, 0, -1}) {
    expectEnd(runWith(counter), fanAt(4000.9), 4000);
  }
}

TEST_P(FanTestSettleState, EndsWithTheSpeedThatWasCaptured) {
  for (const std::int32_t captured : {5000, 1, -1}) {
    FanTestRun run = runWith(1);
    run.*GetParam().measuredRpm = captured;
    run.*GetParam().hit = true;
    expectEnd(run, fanAt(4000), captured);
  }
}

TEST_P(FanTestSettleState, EndsWithASpeedBelow1ThatWasNotReached) {
  FanTestRun run = runWith(1);
  run.lastSetRpm = 0;
  expectEnd(run, fanAt(0.5), 0);
}

TEST_P(FanTestSettleState, LastSampleDoesNotCommandAFanThatLostItsTarget) {
  expectEnd(runWith(1), fanShowing(0, 3000), 4000);
}

TEST_P(FanTestSettleState, CommandsAgainFrom51AwayWithoutTouchingWhatWasSetOrHit) {
  for (const std::int32_t distance : {51, -51, 1000, -1000}) {
    for (const bool hit : {false, true}) {
      FanTestRun run = runWith(20);
      run.*GetParam().hit = hit;
      const FanReading fan = fanShowing(1, GetParam().rpm + distance);
      FanTestRun next = sampled(run, fan);
      next.counter = 19;
      const FanTestStep step = takeFanTestSample(run, fan);
      EXPECT_EQ(step.run, next) << distance;
      EXPECT_EQ(step.commands, forceTo(GetParam().rpm)) << distance;
    }
  }
}

TEST_P(FanTestSettleState, CommandsAgainThoughTheSpeedIsReached) {
  FanTestRun run = reachedRunWith(20);
  run.*GetParam().measuredRpm = 4000;
  const FanTestStep step = takeFanTestSample(run, fanShowing(1, 3000));
  EXPECT_EQ(step.commands, forceTo(GetParam().rpm));
  EXPECT_TRUE(step.run.reached);
  EXPECT_EQ(step.run.lastSetRpm, 4000);
}

TEST_P(FanTestSettleState, DeliberateTarget50AwayIsNotCommandedAgainThoughASetStateWould) {
  for (const std::int32_t distance : {50, -50, 49, -49, 0}) {
    const FanReading fan = fanShowing(1, GetParam().rpm + distance);
    EXPECT_EQ(takeFanTestSample(runWith(20), fan).commands, kNoCommands) << distance;
  }
}

TEST_P(FanTestSettleState, LooksAtTheTargetAndNotAtTheMode) {
  for (const std::int32_t mode : {0, 2, 3}) {
    EXPECT_EQ(takeFanTestSample(runWith(20), fanShowing(mode, GetParam().rpm)).commands,
              kNoCommands);
  }
}

TEST_P(FanTestSettleState, TakesTheEndsOfTheIntegersForFarApart) {
  for (const std::int32_t rpm : {std::numeric_limits<std::int32_t>::max(), 0}) {
    FanReading fan = fanShowing(1, std::numeric_limits<std::int32_t>::min());
    fan.minRpm = rpm;
    fan.maxRpm = rpm;
    EXPECT_EQ(takeFanTestSample(runWith(20), fan).commands, forceTo(rpm));
  }
}

constexpr Goal kRahMax{
    "Max", State::rahMax, kMaxRpm, &FanTestRun::hitMax, &FanTestRun::measuredMaxRpm, State::setMin};
constexpr Goal kRahMin{
    "Min",          State::rahMin, kMinRpm, &FanTestRun::hitMin, &FanTestRun::measuredMinRpm,
    State::automode};

INSTANTIATE_TEST_SUITE_P(Rah, FanTestSettleState, testing::Values(kRahMax, kRahMin),
                         [](const auto& row) { return std::string(row.param.name); });

// ---- reached -----------------------------------------------------------------------------------

/// A run that idles with 3000 RPM last set, so that nothing but the speed decides.
FanTestRun idleRun(double previousDeviationRpm, std::int32_t lastSetRpm = 3000) {
  FanTestRun run = runIn(State::animateDone, 20);
  run.lastSetRpm = lastSetRpm;
  run.previousDeviationRpm = previousDeviationRpm;
  return run;
}

bool isReached(const FanTestRun& run, double speedRpm) {
  return takeFanTestSample(run, fanShowing(1, kMaxRpm, speedRpm)).run.reached;
}

TEST(FanTestReached, SpeedIsReachedWithADeviationBelow100) {
  for (const double deviation : {0.0, 99.0, 99.9}) {
    EXPECT_TRUE(isReached(idleRun(500), 3000 + deviation)) << deviation;
    EXPECT_TRUE(isReached(idleRun(-500), 3000 - deviation)) << deviation;
  }
}

TEST(FanTestReached, SpeedIsNotReachedWithADeviationOf100) {
  for (const double deviation : {100.0, 100.1, 3000.0}) {
    EXPECT_FALSE(isReached(idleRun(500), 3000 + deviation)) << deviation;
    EXPECT_FALSE(isReached(idleRun(-500), 3000 - deviation)) << deviation;
  }
}

TEST(FanTestReached, SpeedThatIsLeftIsNoLongerReached) {
  FanTestRun run = idleRun(50);
  run.reached = true;
  EXPECT_FALSE(isReached(run, 3200));
}

TEST(FanTestReached, SpeedIsReachedByAFanThatCrossesItBetweenTwoSamples) {
  EXPECT_TRUE(isReached(idleRun(500), 2000));
  EXPECT_TRUE(isReached(idleRun(-500), 4000));
}

TEST(FanTestReached, CrossedSpeedIsReachedForOneSample) {
  const FanReading above = fanShowing(1, kMaxRpm, 4000);
  const FanTestRun crossed = takeFanTestSample(idleRun(-500), above).run;
  ASSERT_TRUE(crossed.reached);
  EXPECT_FALSE(takeFanTestSample(crossed, above).run.reached);
}

TEST(FanTestReached, DeviationOf0IsOnTheUpperSide) {
  EXPECT_FALSE(isReached(idleRun(0.0), 3500));
  EXPECT_FALSE(isReached(idleRun(-0.0), 3500));
  EXPECT_TRUE(isReached(idleRun(0.0), 2500));
  EXPECT_TRUE(isReached(idleRun(-0.5), 3500));
}

TEST(FanTestReached, DeviationOfEverySampleIsKeptForTheNext) {
  EXPECT_EQ(takeFanTestSample(idleRun(7), fanShowing(1, kMaxRpm, 2500.5)).run.previousDeviationRpm,
            -499.5);
  EXPECT_EQ(
      takeFanTestSample(idleRun(7, 0), fanShowing(1, kMaxRpm, 2500.5)).run.previousDeviationRpm,
      2500.5);
}

TEST(FanTestReached, SpeedLastSetOf0OrLessLeavesReachedAsItIs) {
  for (const std::int32_t lastSet : {0, -1, -3000}) {
    for (const bool before : {false, true}) {
      for (const double speed : {0.0, 4000.0, -3000.0}) {
        FanTestRun run = idleRun(-500, lastSet);
        run.reached = before;
        EXPECT_EQ(isReached(run, speed), before) << lastSet << " " << speed;
      }
    }
  }
}

TEST(FanTestReached, SpeedLastSetOf1IsLookedAt) {
  EXPECT_TRUE(isReached(idleRun(500, 1), 100.9));
  EXPECT_FALSE(isReached(idleRun(500, 1), 101));
}

TEST(FanTestReached, SampleAfterTheSetSpeedRoseAboveTheFanCountsAsACrossing) {
  FanTestRun run;
  run.state = State::setMax;
  run = takeFanTestSample(run, fanShowing(0, 2000, 2000)).run;  // 2000 above nothing set
  ASSERT_EQ(run.lastSetRpm, kMaxRpm);
  run = takeFanTestSample(run, fanShowing(1, kMaxRpm, 2000)).run;  // 4000 below
  EXPECT_EQ(run.state, State::waitSpeed);
  EXPECT_TRUE(run.reached);
  run = takeFanTestSample(run, fanShowing(1, kMaxRpm, 2100)).run;
  EXPECT_FALSE(run.reached);
  EXPECT_FALSE(run.hitMax);
}

TEST(FanTestReached, SampleAfterTheSetSpeedFellBelowTheFanCountsAsACrossing) {
  FanTestRun run = idleRun(0, kMaxRpm);
  run.state = State::setMin;
  run = takeFanTestSample(run, fanShowing(1, kMaxRpm, 5990)).run;  // 10 below
  ASSERT_EQ(run.lastSetRpm, kMinRpm);
  run = takeFanTestSample(run, fanShowing(1, kMinRpm, 5900)).run;  // 4700 above
  EXPECT_EQ(run.state, State::rahMin);
  EXPECT_TRUE(run.reached);
  run = takeFanTestSample(run, fanShowing(1, kMinRpm, 5800)).run;
  EXPECT_FALSE(run.reached);
  EXPECT_FALSE(run.hitMin);
}

TEST(FanTestReached, NotANumberIsOnTheLowerSideAndNeverNear) {
  EXPECT_TRUE(isReached(idleRun(500), kNaN));
  EXPECT_FALSE(isReached(idleRun(-500), kNaN));
  EXPECT_FALSE(isReached(idleRun(kNaN), kNaN));
  EXPECT_TRUE(isReached(idleRun(kNaN), 4000));
}

TEST(FanTestReached, InfiniteSpeedIsReachedOnlyByCrossing) {
  EXPECT_FALSE(isReached(idleRun(500), kInfinity));
  EXPECT_TRUE(isReached(idleRun(-500), kInfinity));
  EXPECT_TRUE(isReached(idleRun(kInfinity), -kInfinity));
}

}  // namespace
}  // namespace halvarin::test
