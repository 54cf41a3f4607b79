#include "selftest/FanTestMachine.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>
#include <string_view>

#include "tests/unit/selftest/FanTestRuns.h"

namespace halvarin::test {
namespace {

using State = FanTestState;

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const FanTestCommands kNoCommands;

// ---- beginning ---------------------------------------------------------------------------------

TEST(FanTestMachine, StatesAreCalledByTheNamesOfTheLog) {
  constexpr std::array<std::string_view, 10> kNames{
      "init",    "set_min",  "wait_speed",   "rah_min", "set_max",
      "rah_max", "automode", "animate_done", "done",    "no error"};
  for (std::uint32_t number = 0; number < kNames.size(); ++number) {
    EXPECT_EQ(fanTestStateName(static_cast<State>(number)), kNames[number]) << number;
  }
}

TEST(FanTestMachine, NewRunIsInInitWith32SamplesAndEverythingElseAtNothing) {
  const FanTestRun run;
  EXPECT_EQ(run.state, State::init);
  EXPECT_EQ(run.previousState, State::init);
  EXPECT_EQ(run.counter, 32);
  EXPECT_EQ(run.exitState, State::noError);
  EXPECT_EQ(run.sample, 0);
  EXPECT_EQ(run.lastSetRpm, 0);
  EXPECT_FALSE(run.reached || run.hitMax || run.hitMin || run.turned);
  EXPECT_EQ(run.measuredMaxRpm, 0);
  EXPECT_EQ(run.measuredMinRpm, 0);
  EXPECT_EQ(run.previousDeviationRpm, 0);
}

TEST(FanTestMachine, InitGoesToSetMaxWithoutACommandWhateverTheFanShows) {
  for (const FanReading& fan : {fanShowing(0, 2000), fanShowing(1, kMaxRpm), fanShowing(3, 0, 0)}) {
    for (const std::int32_t counter : {32, 5, 0, -1}) {
      const FanTestRun run = runIn(State::init, counter);
      FanTestRun next = sampled(run, fan);
      next.state = State::setMax;
      next.counter = 32;
      next.reached = fan.speedRpm == 0;  // below 3000, and 4000 was above
      const FanTestStep step = takeFanTestSample(run, fan);
      EXPECT_EQ(step.run, next);
      EXPECT_EQ(step.commands, kNoCommands);
    }
  }
}

// ---- set_max, set_min --------------------------------------------------------------------------

/// One of the two speeds that a run sets.
struct Goal {
  const char* name;
  State state;
  std::int32_t rpm;
  bool FanTestRun::*hit;
  State next;
  std::int32_t nextCounter;

  friend void PrintTo(const Goal& goal, std::ostream* out) { *out << goal.name; }
};

class FanTestSetState : public testing::TestWithParam<Goal> {
 protected:
  [[nodiscard]] static FanTestRun runWith(std::int32_t counter) {
    return runIn(GetParam().state, counter);
  }

  /// What takes the fan's target for its own, or waits no longer for that.
  static void expectNext(const FanTestRun& run, const FanReading& fan) {
    FanTestRun next = sampled(run, fan);
    next.state = GetParam().next;
    next.counter = GetParam().nextCounter;
    const FanTestStep step = takeFanTestSample(run, fan);
    EXPECT_EQ(step.run, next) << fan.targetRpm;
    EXPECT_EQ(step.commands, kNoCommands) << fan.targetRpm;
  }

  static void expectCommand(const FanTestRun& run, const FanReading& fan) {
    FanTestRun next = sampled(run, fan);
    next.counter = run.counter - 1;
    next.lastSetRpm = GetParam().rpm;
    next.*GetParam().hit = false;
    const FanTestStep step = takeFanTestSample(run, fan);
    EXPECT_EQ(step.run, next) << fan.mode << " " << fan.targetRpm;
    EXPECT_EQ(step.commands, forceTo(GetParam().rpm)) << fan.mode << " " << fan.targetRpm;
  }
};

TEST_P(FanTestSetState, EndsWhenTheTargetIsLessThan50Away) {
  for (const std::int32_t distance : {0, 1, -1, 49, -49}) {
    expectNext(runWith(20), fanShowing(1, GetParam().rpm + distance));
  }
}

TEST_P(FanTestSetState, CommandsItsSpeedWhileTheTargetIs50OrMoreAway) {
  for (const std::int32_t distance : {50, -50, 51, -51, 1000}) {
    expectCommand(runWith(20), fanShowing(1, GetParam().rpm + distance));
  }
}

TEST_P(FanTestSetState, CommandsItsSpeedWhileTheTargetIsAtTheEndsOfTheIntegers) {
  expectCommand(runWith(20), fanShowing(1, kLowest));
  expectCommand(runWith(20), fanShowing(1, kHighest));
}

TEST_P(FanTestSetState, TakesTheEndsOfTheIntegersForFarApart) {
  for (const std::int32_t rpm : {kHighest, 0}) {
    FanReading fan = fanShowing(1, kLowest);
    fan.minRpm = rpm;
    fan.maxRpm = rpm;
    EXPECT_EQ(takeFanTestSample(runWith(20), fan).commands, forceTo(rpm));
  }
}

TEST_P(FanTestSetState, TakesNoTargetOfAFanWhoseModeIsNot1) {
  for (const std::int32_t mode : {0, 2, 3, -1, 257}) {
    expectCommand(runWith(20), fanShowing(mode, GetParam().rpm));
  }
}

TEST_P(FanTestSetState, DoesNotTakeTheTargetOfTheOtherSpeed) {
  expectCommand(runWith(20), fanShowing(1, kMaxRpm + kMinRpm - GetParam().rpm));
}

TEST_P(FanTestSetState, LooksAtTheTargetAndNotAtTheSpeed) {
  const auto rpm = static_cast<double>(GetParam().rpm);
  FanTestRun run = runWith(20);
  run.lastSetRpm = 0;  // whatever the speed is, nothing is reached
  expectCommand(run, fanShowing(1, 3000, rpm));
  expectNext(run, fanShowing(1, GetParam().rpm, 0));
}

TEST_P(FanTestSetState, CommandsOnceMoreWithACounterOf1) {
  expectCommand(runWith(2), fanShowing(0, 0));
  expectCommand(runWith(1), fanShowing(0, 0));
}

TEST_P(FanTestSetState, EndsWithoutTheTargetOnceTheCounterIsUsedUp) {
  for (const std::int32_t counter : {0, -1, kLowest}) {
    expectNext(runWith(counter), fanShowing(0, 0));
  }
}

TEST_P(FanTestSetState, CommandForgetsThatTheSpeedSetBeforeWasReached) {
  FanTestRun run = runWith(20);
  run.lastSetRpm = 4000;
  ASSERT_TRUE(takeFanTestSample(run, fanShowing(1, GetParam().rpm)).run.reached);
  EXPECT_FALSE(takeFanTestSample(run, fanShowing(0, 0)).run.reached);
}

constexpr Goal kSetMax{"Max", State::setMax, kMaxRpm, &FanTestRun::hitMax, State::waitSpeed, 480};
constexpr Goal kSetMin{"Min", State::setMin, kMinRpm, &FanTestRun::hitMin, State::rahMin, 32};

INSTANTIATE_TEST_SUITE_P(Set, FanTestSetState, testing::Values(kSetMax, kSetMin),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(FanTestSetStates, DeliberateOnlyTheHighestSpeedIsFollowedByAWaitForTheFanToTurn) {
  const FanTestRun atMax = takeFanTestSample(runIn(State::setMax, 20), fanShowing(1, kMaxRpm)).run;
  EXPECT_EQ(atMax.state, State::waitSpeed);
  EXPECT_EQ(atMax.counter, 480);
  const FanTestRun atMin = takeFanTestSample(runIn(State::setMin, 20), fanShowing(1, kMinRpm)).run;
  EXPECT_EQ(atMin.state, State::rahMin);
  EXPECT_EQ(atMin.counter, 32);
}

// ---- wait_speed --------------------------------------------------------------------------------

/// As a run that waits for the fan to turn: it has not yet.
FanTestRun waitingWith(std::int32_t counter) {
  FanTestRun run = runIn(State::waitSpeed, counter);
  run.turned = false;
  run.lastSetRpm = 0;
  return run;
}

TEST(FanTestWaitSpeed, EndsWithAnySpeedAbove0) {
  for (const double speed : {std::numeric_limits<double>::denorm_min(), 0.5, 1.0, 6000.0}) {
    const FanReading fan = fanShowing(1, kMaxRpm, speed);
    const FanTestRun run = waitingWith(480);
    FanTestRun next = sampled(run, fan);
    next.state = State::rahMax;
    next.counter = 32;
    next.turned = true;
    const FanTestStep step = takeFanTestSample(run, fan);
    EXPECT_EQ(step.run, next) << speed;
    EXPECT_EQ(step.commands, kNoCommands) << speed;
  }
}

TEST(FanTestWaitSpeed, SpeedAbove0CountsEvenInTheLastSample) {
  for (const std::int32_t counter : {1, 0, -1}) {
    const FanTestRun next = takeFanTestSample(waitingWith(counter), fanShowing(1, kMaxRpm, 1)).run;
    EXPECT_EQ(next.state, State::rahMax);
    EXPECT_TRUE(next.turned);
    EXPECT_EQ(next.exitState, State::noError);
  }
}

TEST(FanTestWaitSpeed, WaitsOnWithoutACommandWhileTheSpeedIsNotAbove0) {
  for (const double speed : {0.0, -0.0, -1.0, kNaN}) {
    const FanTestRun run = waitingWith(480);
    const FanTestStep step = takeFanTestSample(run, fanShowing(0, 0, speed));
    EXPECT_EQ(step.run.state, State::waitSpeed) << speed;
    EXPECT_EQ(step.run.counter, 479) << speed;
    EXPECT_FALSE(step.run.turned) << speed;
    EXPECT_EQ(step.commands, kNoCommands) << speed;
  }
}

TEST(FanTestWaitSpeed, WaitsOnceMoreWithACounterOf1) {
  const FanReading fan = fanShowing(1, kMaxRpm, 0);
  FanTestRun next = sampled(waitingWith(1), fan);
  next.counter = 0;
  EXPECT_EQ(takeFanTestSample(waitingWith(1), fan).run, next);
}

TEST(FanTestWaitSpeed, EndsTheRunOnceTheCounterIsUsedUp) {
  for (const std::int32_t counter : {0, -1}) {
    const FanReading fan = fanShowing(1, kMaxRpm, 0);
    FanTestRun next = sampled(waitingWith(counter), fan);
    next.state = State::done;
    next.counter = counter - 1;
    next.exitState = State::waitSpeed;
    const FanTestStep step = takeFanTestSample(waitingWith(counter), fan);
    EXPECT_EQ(step.run, next);
    EXPECT_EQ(step.commands, kNoCommands);
  }
}

// ---- automode ----------------------------------------------------------------------------------

TEST(FanTestAutomode, HandsBackWhileTheModeIsNeither0Nor3) {
  for (const std::int32_t mode : {1, 2, 4, -1, 256, 259}) {
    for (const std::int32_t counter : {32, 2, 1}) {
      const FanReading fan = fanShowing(mode, kMinRpm);
      const FanTestRun run = runIn(State::automode, counter);
      FanTestRun next = sampled(run, fan);
      next.counter = counter - 1;
      const FanTestStep step = takeFanTestSample(run, fan);
      EXPECT_EQ(step.run, next) << mode;
      EXPECT_FALSE(step.commands.forceToRpm) << mode;
      EXPECT_TRUE(step.commands.handBack) << mode;
      EXPECT_FALSE(step.commands.reportRunning) << mode;
    }
  }
}

void expectReport(std::int32_t mode, std::int32_t counter) {
  const FanReading fan = fanShowing(mode, kMinRpm);
  const FanTestRun run = runIn(State::automode, counter);
  FanTestRun next = sampled(run, fan);
  next.state = State::animateDone;
  next.counter = 32;
  const FanTestStep step = takeFanTestSample(run, fan);
  EXPECT_EQ(step.run, next);
  EXPECT_FALSE(step.commands.forceToRpm);
  EXPECT_FALSE(step.commands.handBack);
  EXPECT_TRUE(step.commands.reportRunning);
}

TEST(FanTestAutomode, ReportsAFanInMode0) {
  expectReport(0, 32);
}

TEST(FanTestAutomode, ReportsAFanInMode3) {
  expectReport(3, 32);
}

TEST(FanTestAutomode, ReportsTheFanWhateverItsModeOnceTheCounterIsUsedUp) {
  expectReport(1, 0);
  expectReport(1, -1);
}

// ---- animate_done ------------------------------------------------------------------------------

TEST(FanTestAnimateDone, IdlesWhateverTheFanShowsWhileTheCounterIsAbove0) {
  for (const FanReading& fan : {fanShowing(0, 2000), fanShowing(1, kMaxRpm)}) {
    for (const std::int32_t counter : {32, 2, 1}) {
      const FanTestRun run = runIn(State::animateDone, counter);
      FanTestRun next = sampled(run, fan);
      next.counter = counter - 1;
      const FanTestStep step = takeFanTestSample(run, fan);
      EXPECT_EQ(step.run, next);
      EXPECT_EQ(step.commands, kNoCommands);
    }
  }
}

TEST(FanTestAnimateDone, EndsTheRunWithoutAnErrorOnceTheCounterIsUsedUp) {
  for (const std::int32_t counter : {0, -1}) {
    const FanReading fan = fanShowing(1, kMaxRpm);
    const FanTestRun run = runIn(State::animateDone, counter);
    FanTestRun next = sampled(run, fan);
    next.state = State::done;
    next.counter = counter - 1;
    const FanTestStep step = takeFanTestSample(run, fan);
    EXPECT_EQ(step.run, next);
    EXPECT_EQ(step.run.exitState, State::noError);
    EXPECT_EQ(step.commands, kNoCommands);
  }
}

}  // namespace
}  // namespace halvarin::test
