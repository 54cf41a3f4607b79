#include "platform/machine/fans/FanModel.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace halvarin::test {

namespace {

using platform::automaticRpm;
using platform::FanFault;
using platform::FanMotor;
using platform::FanTraits;
using platform::fanTraits;
using platform::motorGoalRpm;
using platform::movedMotor;

using namespace std::chrono_literals;

using Kind = FanFault::Kind;

FanTraits healthy() {
  return fanTraits(1200, 5200, 0, {});
}

FanTraits with(std::vector<FanFault> faults) {
  return fanTraits(1200, 5200, 0, faults);
}

// ---- traits

TEST(FanModel, TakesTheRangeThatTheKeysHold) {
  EXPECT_EQ(healthy().minRpm, 1200);
  EXPECT_EQ(healthy().maxRpm, 5200);
  EXPECT_EQ(healthy().timeConstant, 2s);
}

TEST(FanModel, TakesARangeFrom0To6000WhereTheKeysHoldNone) {
  EXPECT_EQ(fanTraits({}, {}, 0, {}).minRpm, 0);
  EXPECT_EQ(fanTraits({}, {}, 0, {}).maxRpm, 6000);
  EXPECT_EQ(fanTraits(7000, {}, 0, {}).maxRpm, 7000);
}

TEST(FanModel, TakesNoRangeThatRunsBackwardsOrBelow0) {
  EXPECT_EQ(fanTraits(3000, 2000, 0, {}).maxRpm, 3000);
  EXPECT_EQ(fanTraits(-100, -50, 0, {}).minRpm, 0);
  EXPECT_EQ(fanTraits(-100, -50, 0, {}).maxRpm, 0);
}

TEST(FanModel, TakesOnlyTheFaultsOfItsOwnFan) {
  const std::array<FanFault, 2> faults{{{1, Kind::slow}, {2, Kind::deaf}}};
  EXPECT_EQ(fanTraits({}, {}, 1, faults).timeConstant, 30s);
  EXPECT_TRUE(fanTraits({}, {}, 1, faults).obeys);
  EXPECT_EQ(fanTraits({}, {}, 2, faults).timeConstant, 2s);
  EXPECT_FALSE(fanTraits({}, {}, 2, faults).obeys);
  EXPECT_EQ(fanTraits({}, {}, 0, faults).timeConstant, 2s);
}

TEST(FanModel, CombinesTheFaultsOfAFan) {
  const FanTraits traits = with({{0, Kind::slow}, {0, Kind::weak}});
  EXPECT_EQ(traits.timeConstant, 30s);
  EXPECT_EQ(traits.reachableRpm, 3200);
}

// ---- automatic control

TEST(FanModel, WantsExactlyTheStartWhileItIsNotWarmer) {
  for (const double start : {0.0, 0.1, 700.3, 1200.0, 2055.9, 5200.0, 9000.0}) {
    EXPECT_EQ(automaticRpm(healthy(), start, 0), start);
  }
}

TEST(FanModel, WantsTheWholeRangeMoreIn40Degrees) {
  EXPECT_EQ(automaticRpm(healthy(), 1200, 40), 5200);
  EXPECT_EQ(automaticRpm(healthy(), 2000, 10), 3000);
  EXPECT_EQ(automaticRpm(healthy(), 2000, -5), 1500);
}

TEST(FanModel, WantsNotMoreThanTheMost) {
  EXPECT_EQ(automaticRpm(healthy(), 2000, 80), 5200);
  EXPECT_EQ(automaticRpm(healthy(), 9000, 1), 5200);
}

TEST(FanModel, WantsNotLessThanTheLeastOfAFanThatBeganAboveIt) {
  EXPECT_EQ(automaticRpm(healthy(), 2000, -30), 1200);
  EXPECT_EQ(automaticRpm(healthy(), 1200, -1), 1200);
}

TEST(FanModel, LeavesAFanThatBeganBelowTheLeastUntilTheLeastIsWanted) {
  EXPECT_EQ(automaticRpm(healthy(), 0, 11.99), 0);
  EXPECT_EQ(automaticRpm(healthy(), 0, 12), 1200);
  EXPECT_EQ(automaticRpm(healthy(), 0, 15), 1500);
  EXPECT_EQ(automaticRpm(healthy(), 700, 4), 700);
  EXPECT_EQ(automaticRpm(healthy(), 700, -20), 700);
}

// ---- the motor's goal

TEST(FanModel, TendsToTheCommandWhereThereIsOne) {
  EXPECT_EQ(motorGoalRpm(healthy(), 2000, 4000), 4000);
  EXPECT_EQ(motorGoalRpm(healthy(), 2000, 0), 0);
  EXPECT_EQ(motorGoalRpm(healthy(), 2000, {}), 2000);
}

TEST(FanModel, TendsNeverBelow0) {
  EXPECT_EQ(motorGoalRpm(healthy(), 2000, -500), 0);
}

TEST(FanModel, TendsToHalfItsRangeAtMostWhenWeak) {
  EXPECT_EQ(motorGoalRpm(with({{0, Kind::weak}}), 2000, 5200), 3200);
  EXPECT_EQ(motorGoalRpm(with({{0, Kind::weak}}), 4000, {}), 3200);
  EXPECT_EQ(motorGoalRpm(with({{0, Kind::weak}}), 2000, 3100), 3100);
}

TEST(FanModel, TendsToTheAutomaticSpeedWhenDeaf) {
  EXPECT_EQ(motorGoalRpm(with({{0, Kind::deaf}}), 2000, 5200), 2000);
}

TEST(FanModel, TendsTo0WhenStalled) {
  EXPECT_EQ(motorGoalRpm(with({{0, Kind::stalled}}), 2000, 5200), 0);
}

// ---- the motor

TEST(FanModel, Covers632ThousandthsOfTheWayIn2Seconds) {
  const FanMotor motor = movedMotor({1000, 2000}, healthy(), 2s);
  EXPECT_NEAR(motor.speedRpm, 1632.12, 0.01);
  EXPECT_EQ(motor.goalRpm, 2000);
}

TEST(FanModel, SlowsDownAsItSpeedsUp) {
  EXPECT_NEAR(movedMotor({2000, 1000}, healthy(), 2s).speedRpm, 1367.88, 0.01);
}

TEST(FanModel, Takes30SecondsForTheSameWayWhenSlow) {
  EXPECT_NEAR(movedMotor({1000, 2000}, with({{0, Kind::slow}}), 30s).speedRpm, 1632.12, 0.01);
}

TEST(FanModel, ComesToTheSamePlaceInManyStepsAsInOne) {
  FanMotor motor{1000, 4000};
  for (int step = 0; step < 300; ++step) {
    motor = movedMotor(motor, healthy(), 10ms);
  }
  EXPECT_NEAR(motor.speedRpm, movedMotor({1000, 4000}, healthy(), 3s).speedRpm, 1e-6);
}

TEST(FanModel, DoesNotMoveWithoutTimeNorAtItsGoal) {
  EXPECT_EQ(movedMotor({1000, 2000}, healthy(), 0s), (FanMotor{1000, 2000}));
  EXPECT_EQ(movedMotor({1234.5, 1234.5}, healthy(), 7s), (FanMotor{1234.5, 1234.5}));
}

TEST(FanModel, IsAtItsGoalAfterAnHour) {
  EXPECT_EQ(movedMotor({1000, 0}, healthy(), 1h).speedRpm, 0);
  EXPECT_EQ(movedMotor({0, 5200}, healthy(), 1h).speedRpm, 5200);
}

}  // namespace

}  // namespace halvarin::test
