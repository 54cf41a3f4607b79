#include "selftest/FanTestVerdict.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "tests/unit/selftest/FanTestRuns.h"

namespace halvarin::test {
namespace {

constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

FanTestRun measuredRun(std::int32_t minRpm, std::int32_t maxRpm) {
  FanTestRun run;
  run.measuredMinRpm = minRpm;
  run.measuredMaxRpm = maxRpm;
  return run;
}

FanReading fanOf(std::int32_t minRpm, std::int32_t maxRpm) {
  FanReading fan;
  fan.minRpm = minRpm;
  fan.maxRpm = maxRpm;
  return fan;
}

// ---- covered range -----------------------------------------------------------------------------

TEST(CoveredRange, FanMeasuredAtBothItsSpeedsCoversAll) {
  EXPECT_EQ(coveredRange(measuredRun(1200, 6000), fanOf(1200, 6000)), 1);
}

TEST(CoveredRange, IsAFractionAndNoWholeNumber) {
  EXPECT_EQ(coveredRange(measuredRun(1200, 4800), fanOf(1200, 6000)), 0.75);
}

TEST(CoveredRange, MayBeMoreThanAll) {
  EXPECT_EQ(coveredRange(measuredRun(0, 9600), fanOf(1200, 6000)), 2);
}

TEST(CoveredRange, HasNoSignWhicheverDifferenceIsBelow0) {
  EXPECT_EQ(coveredRange(measuredRun(4800, 1200), fanOf(1200, 6000)), 0.75);
  EXPECT_EQ(coveredRange(measuredRun(1200, 4800), fanOf(6000, 1200)), 0.75);
  EXPECT_EQ(coveredRange(measuredRun(4800, 1200), fanOf(6000, 1200)), 0.75);
}

TEST(CoveredRange, FanThatNeverTurnedCoversNothing) {
  EXPECT_EQ(coveredRange({}, fanOf(1200, 6000)), 0);
}

TEST(CoveredRange, DeliberateFanWithoutARangeCoversInfinitelyMuch) {
  EXPECT_EQ(coveredRange(measuredRun(1200, 1300), fanOf(2000, 2000)), kInfinity);
  EXPECT_EQ(coveredRange(measuredRun(1300, 1200), fanOf(2000, 2000)), kInfinity);
}

TEST(CoveredRange, DeliberateFanWithoutARangeAtOneSpeedCoversNoNumber) {
  EXPECT_TRUE(std::isnan(coveredRange(measuredRun(1200, 1200), fanOf(2000, 2000))));
}

TEST(CoveredRange, DifferencesMayExceedTheIntegers) {
  EXPECT_EQ(coveredRange(measuredRun(kLowest, kHighest), fanOf(kLowest, kHighest)), 1);
  EXPECT_EQ(coveredRange(measuredRun(kHighest, kLowest), fanOf(0, 1)), 4294967295.0);
}

// ---- verdict -----------------------------------------------------------------------------------

struct Verdict {
  const char* name;
  bool isCanceled;
  bool turned;
  bool hitMin;
  bool hitMax;
  double coveredRange;
  const char* status;

  friend void PrintTo(const Verdict& row, std::ostream* out) { *out << row.name; }
};

const std::vector<Verdict> kVerdicts{
    {"CanceledRunIsCanceledThoughItWouldPass", true, true, true, true, 1, "Canceled"},
    {"CanceledRunIsCanceledThoughItNeverTurned", true, false, false, false, 0, "Canceled"},
    {"CanceledRunIsCanceledThoughItWouldFail", true, true, false, false, 0, "Canceled"},
    {"FanThatNeverTurnedTimedOut", false, false, false, false, 0, "Timeout"},
    {"FanThatNeverTurnedTimedOutThoughItWouldPass", false, false, true, true, 1, "Timeout"},
    {"FanSeenAtBothSpeedsPassedWithoutCoveringAny", false, true, true, true, 0, "Passed"},
    {"FanSeenAtBothSpeedsPassedThoughNotANumber", false, true, true, true, kNaN, "Passed"},
    {"FanThatCoversEnoughPassedUnseen", false, true, false, false, 0.7, "Passed"},
    {"FanThatCoversEnoughPassedSeenAtItsMinimum", false, true, true, false, 0.7, "Passed"},
    {"FanThatCoversEnoughPassedSeenAtItsMaximum", false, true, false, true, 0.7, "Passed"},
    {"FanThatCoversInfinitelyMuchPassed", false, true, false, false, kInfinity, "Passed"},
    {"FanThatCoversExactlyThreeFifthsFailed", false, true, false, false, 0.6, "Failed"},
    {"FanThatCoversAHairMorePassed", false, true, false, false, std::nextafter(0.6, 1), "Passed"},
    {"FanSeenOnlyAtItsMinimumFailed", false, true, true, false, 0.5, "Failed"},
    {"FanSeenOnlyAtItsMaximumFailed", false, true, false, true, 0.5, "Failed"},
    {"FanThatCoversNoNumberFailed", false, true, false, false, kNaN, "Failed"},
    {"FanThatCoversNothingFailed", false, true, false, false, 0, "Failed"},
};

class FanVerdictRow : public testing::TestWithParam<Verdict> {};

TEST_P(FanVerdictRow, IsTheFirstThatHolds) {
  const Verdict& row = GetParam();
  FanTestRun run;
  run.turned = row.turned;
  run.hitMin = row.hitMin;
  run.hitMax = row.hitMax;
  EXPECT_EQ(fanVerdict(run, row.coveredRange, row.isCanceled), row.status);
}

INSTANTIATE_TEST_SUITE_P(Rows, FanVerdictRow, testing::ValuesIn(kVerdicts),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(FanVerdict, RangeMeasuredAtExactlyThreeFifthsFails) {
  FanTestRun run = measuredRun(1000, 1600);
  run.turned = true;
  EXPECT_EQ(fanVerdict(run, coveredRange(run, fanOf(1000, 2000)), false), "Failed");
  run.measuredMaxRpm = 1601;
  EXPECT_EQ(fanVerdict(run, coveredRange(run, fanOf(1000, 2000)), false), "Passed");
}

// ---- summary line ------------------------------------------------------------------------------

TEST(FanSummaryLine, OfAPassedRunEndsInABlank) {
  FanTestRun run = measuredRun(1210, 5990);
  run.hitMin = true;
  run.hitMax = true;
  EXPECT_EQ(fanSummaryLine("Left side  ", "Passed", run, fanShowing(0, 2000), 0.99583),
            "fantest: Left side   status: Passed  exit state: 'no error' temp: '45.00 oC' hitMin: "
            "1 hitMax: 1 tg_min: 1200 spd_min: 1210 tg_max: 6000 spd_max: 5990  rdr: 0.996 ");
}

TEST(FanSummaryLine, OfARunThatTimedOutNamesTheStateItWaitedIn) {
  FanTestRun run;
  run.exitState = FanTestState::waitSpeed;
  EXPECT_EQ(fanSummaryLine("Fan0", "Timeout", run, fanShowing(1, 6000, 0), 0),
            "fantest: Fan0 status: Timeout  exit state: 'wait_speed' temp: '45.00 oC' hitMin: 0 "
            "hitMax: 0 tg_min: 1200 spd_min: 0 tg_max: 6000 spd_max: 0  rdr: 0.000 ");
}

TEST(FanSummaryLine, OfACanceledRunNamesTheStateItWasAboutToEnter) {
  FanTestRun run = measuredRun(0, 5990);
  run.exitState = FanTestState::setMin;
  run.hitMax = true;
  EXPECT_EQ(fanSummaryLine("Fan1", "Canceled", run, fanShowing(1, 6000), 1.2479166),
            "fantest: Fan1 status: Canceled  exit state: 'set_min' temp: '45.00 oC' hitMin: 0 "
            "hitMax: 1 tg_min: 1200 spd_min: 0 tg_max: 6000 spd_max: 5990  rdr: 1.248 ");
}

TEST(FanSummaryLine, WithoutATempHasTheNullText) {
  EXPECT_EQ(fanSummaryLine("Fan0", "Failed", {}, fanOf(1200, 1200), kNaN),
            "fantest: Fan0 status: Failed  exit state: 'no error' temp: '(null) oC' hitMin: 0 "
            "hitMax: 0 tg_min: 1200 spd_min: 0 tg_max: 1200 spd_max: 0  rdr: nan ");
}

TEST(FanSummaryLine, WritesInfinitelyMuchAndSignedSpeeds) {
  EXPECT_EQ(fanSummaryLine("", "Passed", measuredRun(-1, kLowest), fanOf(-5, kHighest), kInfinity),
            "fantest:  status: Passed  exit state: 'no error' temp: '(null) oC' hitMin: 0 hitMax: "
            "0 tg_min: -5 spd_min: -1 tg_max: 2147483647 spd_max: -2147483648  rdr: inf ");
}

TEST(FanSummaryLine, NeverWritesASignBeforeNotANumber) {
  const std::string line = fanSummaryLine("Fan0", "Failed", {}, fanOf(0, 0), -kNaN);
  EXPECT_TRUE(line.ends_with("  rdr: nan ")) << line;
}

TEST(FanSummaryLine, RoundsTheCoveredRangeToThreeDigits) {
  const auto endOf = [](double covered) {
    const std::string line = fanSummaryLine("Fan0", "Failed", {}, fanOf(0, 1), covered);
    return line.substr(line.find("rdr"));
  };
  EXPECT_EQ(endOf(0.6), "rdr: 0.600 ");
  EXPECT_EQ(endOf(0.6004), "rdr: 0.600 ");
  EXPECT_EQ(endOf(0.6006), "rdr: 0.601 ");
  EXPECT_EQ(endOf(0.9999), "rdr: 1.000 ");
  EXPECT_EQ(endOf(4294967295.0), "rdr: 4294967295.000 ");
}

TEST(FanSummaryLine, WritesATempThatIsANumberAsANumber) {
  FanReading fan = fanOf(0, 1);
  fan.temp = 45.5;
  EXPECT_NE(fanSummaryLine("Fan0", "Failed", {}, fan, 0).find(" temp: '45.5 oC' "),
            std::string::npos);
}

// ---- batch -------------------------------------------------------------------------------------

struct Batch {
  const char* name;
  std::vector<std::string> statuses;
  const char* status;

  friend void PrintTo(const Batch& row, std::ostream* out) { *out << row.name; }
};

const std::vector<Batch> kBatches{
    {"WithoutFansPassed", {}, "Passed"},
    {"OfOnePassedFanPassed", {"Passed"}, "Passed"},
    {"OfPassedFansPassed", {"Passed", "Passed", "Passed"}, "Passed"},
    {"WithOneFailedFanFailed", {"Passed", "Failed", "Passed"}, "Failed"},
    {"WithOneFanThatTimedOutFailed", {"Passed", "Timeout", "Passed"}, "Failed"},
    {"WithAFanThatFailedAndOneThatTimedOutFailed", {"Timeout", "Failed"}, "Failed"},
    {"WithOneCanceledFanIsCanceled", {"Passed", "Canceled"}, "Canceled"},
    {"IsCanceledThoughAFanFailedBefore", {"Failed", "Canceled"}, "Canceled"},
    {"IsCanceledThoughAFanTimedOutBefore", {"Timeout", "Canceled"}, "Canceled"},
    {"IsCanceledThoughFansFailedAfter", {"Canceled", "Failed", "Timeout"}, "Canceled"},
    {"OfUnknownStatusesPassed", {"", "Running", "failed", "Failed ", "Cancelled"}, "Passed"},
    {"OfAnUnknownStatusAndAFailedFanFailed", {"Running", "Failed"}, "Failed"},
};

class BatchVerdict : public testing::TestWithParam<Batch> {};

TEST_P(BatchVerdict, IsTheGravestOfItsFans) {
  EXPECT_EQ(batchVerdict(GetParam().statuses), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(Rows, BatchVerdict, testing::ValuesIn(kBatches),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace halvarin::test
