#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "selftest/FanTestMachine.h"
#include "selftest/FanTestVerdict.h"
#include "tests/unit/selftest/FanTestRuns.h"

// Whole runs, each over a small fan.

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using State = FanTestState;

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// A fan that comes 1000 RPM nearer to its target between two samples.
struct SmallFan {
  FanReading shown = fanShowing(0, 2000, 2000);
  bool showsItsMode = true;  // else it is forced by bits, and its mode always reads 0
  bool obeys = true;
  bool moves = true;

  void take(const FanTestCommands& commands) {
    if (obeys && commands.forceToRpm) {
      shown.targetRpm = *commands.forceToRpm;
      shown.mode = showsItsMode ? 1 : 0;
    }
    if (obeys && commands.handBack) {
      shown.mode = 0;
    }
    if (moves) {
      shown.speedRpm += std::clamp(shown.targetRpm - shown.speedRpm, -1000.0, 1000.0);
    }
  }
};

/// "set_max: force to 6000"; the state alone in a sample without a command.
std::string lineOf(State state, const FanTestCommands& commands) {
  std::string line(fanTestStateName(state));
  if (commands.forceToRpm) {
    line += ": force to " + std::to_string(*commands.forceToRpm);
  }
  if (commands.handBack) {
    line += ": hand back";
  }
  if (commands.reportRunning) {
    line += ": report";
  }
  return line;
}

struct WholeRun {
  FanTestRun end;
  FanReading last;
  std::vector<std::string> lines;  // "32 rah_max": a line and how often it came in a row

  [[nodiscard]] std::string verdict() const {
    return std::string(fanVerdict(end, coveredRange(end, last), false));
  }
};

WholeRun runOver(SmallFan fan) {
  constexpr int kMostSamples = 10'000;
  WholeRun whole;
  std::vector<std::pair<int, std::string>> counted;
  while (whole.end.state != State::done && whole.end.sample < kMostSamples) {
    const FanTestStep step = takeFanTestSample(whole.end, fan.shown);
    std::string line = lineOf(whole.end.state, step.commands);
    if (counted.empty() || counted.back().second != line) {
      counted.emplace_back(0, std::move(line));
    }
    ++counted.back().first;
    whole.end = step.run;
    whole.last = fan.shown;
    fan.take(step.commands);
  }
  EXPECT_EQ(whole.end.state, State::done);
  for (const auto& [count, line] : counted) {
    whole.lines.push_back(std::to_string(count) + " " + line);
  }
  return whole;
}

// ---- healthy fans ------------------------------------------------------------------------------

TEST(FanTestMachineRun, HealthyFanThatShowsItsModePassesThroughEveryState) {
  const WholeRun whole = runOver({});
  EXPECT_THAT(whole.lines,
              ElementsAre("1 init",                                 //
                          "1 set_max: force to 6000", "1 set_max",  //
                          "1 wait_speed",                           //
                          "33 rah_max",                             //
                          "1 set_min: force to 1200", "1 set_min",  //
                          "33 rah_min",                             //
                          "1 automode: hand back", "1 automode: report", "33 animate_done"));
  EXPECT_EQ(whole.end.sample, 107);
  EXPECT_EQ(whole.end.exitState, State::noError);
  EXPECT_TRUE(whole.end.hitMax && whole.end.hitMin && whole.end.turned);
  EXPECT_EQ(whole.end.measuredMaxRpm, 6000);
  EXPECT_EQ(whole.end.measuredMinRpm, 1200);
  EXPECT_EQ(whole.end.lastSetRpm, 1200);
  EXPECT_EQ(whole.verdict(), "Passed");
}

TEST(FanTestMachineRun, HealthyFanWhoseModeAlwaysReads0IsCommandedUntilTheCounterIsUsedUp) {
  SmallFan fan;
  fan.showsItsMode = false;
  const WholeRun whole = runOver(fan);
  EXPECT_THAT(whole.lines, ElementsAre("1 init",                                  //
                                       "32 set_max: force to 6000", "1 set_max",  //
                                       "1 wait_speed",                            //
                                       "33 rah_max",                              //
                                       "32 set_min: force to 1200", "1 set_min",  //
                                       "33 rah_min",                              //
                                       "1 automode: report",                      //
                                       "33 animate_done"));
  EXPECT_TRUE(whole.end.hitMax && whole.end.hitMin);
  EXPECT_EQ(whole.verdict(), "Passed");
}

TEST(FanTestMachineRun, DeliberateFanAlreadyForcedToItsMaximumIsNotSeenThere) {
  SmallFan fan;
  fan.shown = fanShowing(1, 5951, 6000);
  const WholeRun whole = runOver(fan);
  EXPECT_THAT(whole.lines,
              ElementsAre("1 init",                                 //
                          "1 set_max",                              //
                          "1 wait_speed",                           //
                          "32 rah_max",                             //
                          "1 set_min: force to 1200", "1 set_min",  //
                          "33 rah_min",                             //
                          "1 automode: hand back", "1 automode: report", "33 animate_done"));
  EXPECT_FALSE(whole.end.hitMax);
  EXPECT_EQ(whole.end.measuredMaxRpm, 5951);
  EXPECT_TRUE(whole.end.hitMin);
  EXPECT_EQ(whole.end.measuredMinRpm, 1200);
  EXPECT_EQ(whole.verdict(), "Passed");  // by what it covers of its range
}

// ---- broken fans -------------------------------------------------------------------------------

TEST(FanTestMachineRun, FanThatNeverTurnsEndsAfter481SamplesOfWaiting) {
  SmallFan fan;
  fan.shown.speedRpm = 0;
  fan.moves = false;
  const WholeRun whole = runOver(fan);
  EXPECT_THAT(whole.lines,
              ElementsAre("1 init", "1 set_max: force to 6000", "1 set_max", "481 wait_speed"));
  EXPECT_EQ(whole.end.exitState, State::waitSpeed);
  EXPECT_EQ(whole.end.counter, -1);
  EXPECT_FALSE(whole.end.turned || whole.end.hitMax || whole.end.hitMin);
  EXPECT_EQ(whole.end.measuredMaxRpm, 0);
  EXPECT_EQ(whole.end.measuredMinRpm, 0);
  EXPECT_EQ(whole.verdict(), "Timeout");
}

// That the set speed falls past the fan's own counts as a crossing, but only in set_min, where
// nothing is captured.
TEST(FanTestMachineRun, FanStuckBetweenItsSpeedsIsCarriedThroughAllStatesAndFails) {
  SmallFan fan;
  fan.shown.speedRpm = 3000;
  fan.moves = false;
  const WholeRun whole = runOver(fan);
  EXPECT_THAT(whole.lines,
              ElementsAre("1 init",                                 //
                          "1 set_max: force to 6000", "1 set_max",  //
                          "1 wait_speed",                           //
                          "32 rah_max",                             //
                          "1 set_min: force to 1200", "1 set_min",  //
                          "32 rah_min",                             //
                          "1 automode: hand back", "1 automode: report", "33 animate_done"));
  EXPECT_FALSE(whole.end.hitMax || whole.end.hitMin);
  EXPECT_EQ(whole.end.measuredMaxRpm, 3000);
  EXPECT_EQ(whole.end.measuredMinRpm, 3000);
  EXPECT_EQ(whole.verdict(), "Failed");
}

TEST(FanTestMachineRun, FanThatObeysNoCommandIsCommandedInEverySampleThatMay) {
  SmallFan fan;
  fan.shown = fanShowing(1, 3000, 3000);
  fan.obeys = false;
  const WholeRun whole = runOver(fan);
  EXPECT_THAT(whole.lines,
              ElementsAre("1 init",                                  //
                          "32 set_max: force to 6000", "1 set_max",  //
                          "1 wait_speed",                            //
                          "31 rah_max: force to 6000", "1 rah_max",  //
                          "32 set_min: force to 1200", "1 set_min",  //
                          "31 rah_min: force to 1200", "1 rah_min",  //
                          "32 automode: hand back", "1 automode: report", "33 animate_done"));
  EXPECT_EQ(whole.verdict(), "Failed");
}

// ---- odd fans ----------------------------------------------------------------------------------

TEST(FanTestMachineRun, FanWhoseMaximumIsBelowItsMinimumIsTakenToBoth) {
  SmallFan fan;
  std::swap(fan.shown.minRpm, fan.shown.maxRpm);
  const WholeRun whole = runOver(fan);
  EXPECT_TRUE(whole.end.hitMax && whole.end.hitMin);
  EXPECT_EQ(whole.end.measuredMaxRpm, 1200);
  EXPECT_EQ(whole.end.measuredMinRpm, 6000);
  EXPECT_EQ(whole.verdict(), "Passed");
}

TEST(FanTestMachineRun, FanWithoutAMinimumIsAtItsMinimumWithoutBeingSeenThere) {
  SmallFan fan;
  fan.shown.minRpm = 0;
  const WholeRun whole = runOver(fan);
  EXPECT_EQ(whole.end.lastSetRpm, 0);
  EXPECT_FALSE(whole.end.hitMin);  // no deviation is worked out from 0
  EXPECT_EQ(whole.end.measuredMinRpm, 0);
  EXPECT_EQ(whole.verdict(), "Passed");
}

TEST(FanTestMachineRun, FanWithLimitsAtTheEndsOfTheIntegersIsCarriedThroughAllStates) {
  SmallFan fan;
  fan.shown.minRpm = kLowest;
  fan.shown.maxRpm = kHighest;
  fan.obeys = false;
  EXPECT_EQ(runOver(fan).end.exitState, State::noError);
  std::swap(fan.shown.minRpm, fan.shown.maxRpm);
  EXPECT_EQ(runOver(fan).end.exitState, State::noError);
}

TEST(FanTestMachineRun, FanWhoseSpeedIsNotANumberNeverTurns) {
  SmallFan fan;
  fan.shown.speedRpm = kNaN;
  fan.moves = false;
  EXPECT_EQ(runOver(fan).verdict(), "Timeout");
}

TEST(FanTestMachineRun, FanAtAnInfiniteSpeedIsCarriedThroughAllStates) {
  SmallFan fan;
  fan.shown.speedRpm = kInfinity;
  fan.moves = false;
  const WholeRun whole = runOver(fan);
  EXPECT_TRUE(whole.end.turned);
  EXPECT_FALSE(whole.end.hitMax || whole.end.hitMin);
  EXPECT_EQ(whole.verdict(), "Failed");
}

// ---- how long a run can still take -------------------------------------------------------------

/// The next sample of a run that makes as little haste as it can.
FanTestRun slowest(const FanTestRun& run) {
  FanReading fan = fanShowing(2, 3000, 4000);
  if (run.state == State::waitSpeed && run.counter > 0) {
    fan.speedRpm = 0;
  } else if (run.state == State::rahMax) {
    fan.speedRpm = kMaxRpm;
  } else if (run.state == State::rahMin) {
    fan.speedRpm = kMinRpm;
  }
  return takeFanTestSample(run, fan).run;
}

TEST(MostFanTestSamplesLeft, NewRunHas680) {
  EXPECT_EQ(mostFanTestSamplesLeft({}), 1 + 33 + 481 + 33 + 33 + 33 + 33 + 33);
}

TEST(MostFanTestSamplesLeft, SlowestRunTakesThemAllWithOneLessAfterEachSample) {
  FanTestRun run;
  for (std::int32_t left = mostFanTestSamplesLeft(run); left > 0; --left) {
    ASSERT_NE(run.state, State::done);
    ASSERT_EQ(mostFanTestSamplesLeft(run), left) << testing::PrintToString(run);
    run = slowest(run);
  }
  EXPECT_EQ(run.state, State::done);
  EXPECT_EQ(mostFanTestSamplesLeft(run), 0);
}

TEST(MostFanTestSamplesLeft, CapturedSpeedLeavesOneLessInItsSettleState) {
  for (const State state : {State::rahMax, State::rahMin}) {
    FanTestRun measured = runIn(state, 20);
    FanTestRun bare = measured;
    (state == State::rahMax ? bare.measuredMaxRpm : bare.measuredMinRpm) = 0;
    EXPECT_EQ(mostFanTestSamplesLeft(bare), mostFanTestSamplesLeft(measured) + 1);
  }
}

TEST(MostFanTestSamplesLeft, UsedUpCounterLeavesTheSampleThatEndsTheState) {
  for (const std::int32_t counter : {0, -1, kLowest}) {
    EXPECT_EQ(mostFanTestSamplesLeft(runIn(State::animateDone, counter)), 1);
    EXPECT_EQ(mostFanTestSamplesLeft(runIn(State::rahMin, counter)), 1 + 33 + 33);
  }
}

TEST(MostFanTestSamplesLeft, RunThatHasEndedHasNone) {
  EXPECT_EQ(mostFanTestSamplesLeft(runIn(State::done, 32)), 0);
  EXPECT_EQ(mostFanTestSamplesLeft(runIn(State::noError, 32)), 0);
}

/// Fans that show one of these from sample to sample.
class AnyFan {
 public:
  AnyFan(std::uint32_t seed, std::vector<double> speeds)
      : random_(seed), speeds_(std::move(speeds)) {}

  FanReading show() {
    FanReading fan = fanShowing(oneOf(modes_), oneOf(targets_), oneOf(speeds_));
    fan.minRpm = oneOf(limits_);
    fan.maxRpm = oneOf(limits_);
    return fan;
  }

 private:
  template <typename T>
  T oneOf(const std::vector<T>& values) {
    return values[random_() % values.size()];
  }

  std::mt19937 random_;
  std::vector<double> speeds_;
  std::vector<std::int32_t> modes_{0, 1, 1, 1, 2, 2, 2, 2, 3};
  std::vector<std::int32_t> targets_{0, kMinRpm, 1249, 1250, 5949, kMaxRpm, kLowest, kHighest};
  std::vector<std::int32_t> limits_{kMinRpm, kMinRpm, kMaxRpm, kMaxRpm, 0, 90, kLowest, kHighest};
};

constexpr std::uint32_t kRandomRuns = 300;

TEST(MostFanTestSamplesLeft, FallWithEverySampleWhateverTheFanShows) {
  for (std::uint32_t seed = 0; seed < kRandomRuns; ++seed) {
    AnyFan turning(seed, {1.0, 90.0, 1199.5, 1300.0, 5900.5, 6000.0, 6100.0});
    AnyFan standing(seed, {0.0, -1.0, kNaN});
    const auto startsAt = static_cast<std::int32_t>(seed % 600);
    FanTestRun run;
    while (run.state != State::done) {
      const bool stands = run.state < State::rahMin && run.sample < startsAt;
      const FanTestRun next = takeFanTestSample(run, stands ? standing.show() : turning.show()).run;
      ASSERT_LT(mostFanTestSamplesLeft(next), mostFanTestSamplesLeft(run)) << seed;
      ASSERT_EQ(mostFanTestSamplesLeft(next) == 0, next.state == State::done) << seed;
      run = next;
    }
  }
}

TEST(MostFanTestSamplesLeft, DeliberateCaptureBelow1IsAllThatLeavesThemAsTheyAre) {
  int captures = 0;
  for (std::uint32_t seed = 0; seed < kRandomRuns; ++seed) {
    AnyFan fan(seed, {0.0, 0.5, -0.5, 40.0, 1200.0, 6000.0, kNaN, kInfinity, -kInfinity});
    FanTestRun run;
    while (run.state != State::done) {
      const FanTestRun next = takeFanTestSample(run, fan.show()).run;
      const bool settles = run.state == State::rahMax || run.state == State::rahMin;
      const bool captures0 =
          settles && next.reached && next.state == run.state && next.counter == run.counter &&
          next.measuredMaxRpm == run.measuredMaxRpm && next.measuredMinRpm == run.measuredMinRpm;
      captures += captures0 ? 1 : 0;
      ASSERT_EQ(mostFanTestSamplesLeft(next) == mostFanTestSamplesLeft(run), captures0) << seed;
      ASSERT_LE(mostFanTestSamplesLeft(next), mostFanTestSamplesLeft(run)) << seed;
      run = next;
    }
  }
  EXPECT_GT(captures, 0);
}

}  // namespace
}  // namespace halvarin::test
