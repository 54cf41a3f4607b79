#include "selftest/LinearRegression.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/Data.h"
#include "base/Dictionary.h"
#include "base/Exception.h"

namespace halvarin::test {
namespace {

LineFit fitOf(std::vector<Value> values) {
  return fitLine(Array(std::move(values)));
}

TEST(LinearRegression, FitsAStraightSeriesExactly) {
  const LineFit fit = fitOf({1000, 1100, 1200, 1300});
  EXPECT_EQ(fit.slope, 100);
  EXPECT_EQ(fit.intercept, 1000);
  EXPECT_EQ(fit.r2, 1);
  EXPECT_EQ(fit.sdx, std::sqrt(1.25));
  EXPECT_EQ(fit.sdy, std::sqrt(12500.0));
}

TEST(LinearRegression, AFallingSeriesHasANegativeSlope) {
  const LineFit fit = fitOf({6000, 4500, 3000, 1500, 0});
  EXPECT_EQ(fit.slope, -1500);
  EXPECT_EQ(fit.intercept, 6000);
  EXPECT_EQ(fit.r2, 1);
  EXPECT_EQ(fit.sdx, std::sqrt(2.0));
  EXPECT_EQ(fit.sdy, std::sqrt(4500000.0));
}

TEST(LinearRegression, AnOffsetMovesTheInterceptAlone) {
  const std::vector<int> series{3, 1, 4, 1, 5, 9, 2, 6};
  std::vector<Value> low;
  std::vector<Value> high;
  for (const int number : series) {
    low.emplace_back(number);
    high.emplace_back(number + 2000);
  }
  const LineFit a = fitOf(low);
  const LineFit b = fitOf(high);
  EXPECT_EQ(b.slope, a.slope);  // whole numbers: all sums are exact
  EXPECT_DOUBLE_EQ(b.intercept, a.intercept + 2000);
  EXPECT_EQ(b.r2, a.r2);
  EXPECT_EQ(b.sdx, a.sdx);
  EXPECT_NEAR(b.sdy, a.sdy, 1e-9);
}

TEST(LinearRegression, ASeriesWithoutATrendHasNoSlopeAndAnR2Of0) {
  const LineFit fit = fitOf({1, 2, 2, 1});
  EXPECT_EQ(fit.slope, 0);
  EXPECT_EQ(fit.intercept, 1.5);
  EXPECT_EQ(fit.r2, 0);
  EXPECT_EQ(fit.sdy, 0.5);
}

TEST(LinearRegression, TwoElementsLieOnTheirLine) {
  const LineFit fit = fitOf({-1.5, 2.0});
  EXPECT_EQ(fit.slope, 3.5);
  EXPECT_EQ(fit.intercept, -1.5);
  EXPECT_EQ(fit.r2, 1);
  EXPECT_EQ(fit.sdx, 0.5);
  EXPECT_EQ(fit.sdy, 1.75);
}

TEST(LinearRegression, RoundsEveryStepToADouble) {
  // The same steps in Python; the exact line is off in the last digits.
  const LineFit fit = fitOf({1203.3, 1198.7, 1401.1, 1555.9, 1600.2, 1588.6, 1777.7});
  EXPECT_EQ(fit.slope, 96.50357142857163);
  EXPECT_EQ(fit.intercept, 1185.5607142857139);
  EXPECT_EQ(fit.sdx, 2.0);
  EXPECT_EQ(fit.sdy, 200.84672702113428);
  EXPECT_EQ(fit.r2, 0.9234582079149665);
}

/// The same line from the distances to the means, with more digits.
LineFit twoPassFit(const std::vector<double>& values) {
  const auto n = static_cast<long double>(values.size());
  long double meanY = 0;
  for (const double y : values) {
    meanY += static_cast<long double>(y) / n;
  }
  const long double meanX = (n - 1) / 2;
  long double sxx = 0;
  long double syy = 0;
  long double sxy = 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const long double dx = static_cast<long double>(i) - meanX;
    const long double dy = static_cast<long double>(values[i]) - meanY;
    sxx += dx * dx;
    syy += dy * dy;
    sxy += dx * dy;
  }
  const long double slope = sxy / sxx;
  return {.slope = static_cast<double>(slope),
          .intercept = static_cast<double>(meanY - slope * meanX),
          .sdx = static_cast<double>(std::sqrt(sxx / n)),
          .sdy = static_cast<double>(std::sqrt(syy / n)),
          .r2 = static_cast<double>(sxy * sxy / (sxx * syy))};
}

TEST(LinearRegression, AgreesWithTheDistancesToTheMeansForRandomSeries) {
  std::mt19937 random(20);  // the same series in every run
  std::uniform_real_distribution<double> noise(-400, 400);
  for (const std::size_t length : {3U, 10U, 100U, 600U}) {
    SCOPED_TRACE(length);
    std::vector<double> numbers;
    for (std::size_t i = 0; i < length; ++i) {
      numbers.push_back(1200 + 7.5 * static_cast<double>(i) + noise(random));
    }
    const LineFit fit = fitOf({numbers.begin(), numbers.end()});
    const LineFit expected = twoPassFit(numbers);
    EXPECT_NEAR(fit.slope, expected.slope, 1e-9);
    EXPECT_NEAR(fit.intercept, expected.intercept, 1e-8);
    EXPECT_NEAR(fit.sdx, expected.sdx, 1e-10);
    EXPECT_NEAR(fit.sdy, expected.sdy, 1e-8);
    EXPECT_NEAR(fit.r2, expected.r2, 1e-10);
  }
}

TEST(LinearRegression, TextsAndTruthValuesCountAsNumbers) {
  const LineFit fit = fitOf({"1000", " 1100 RPM", 1200.0, "1.3e3"});
  EXPECT_EQ(fit.slope, 100);
  EXPECT_EQ(fit.intercept, 1000);
  EXPECT_EQ(fitOf({false, true}).slope, 1);
  EXPECT_EQ(fitOf({"none", 1}).slope, 1);
}

TEST(LinearRegression, DeliberateNoElementGivesNotANumberEverywhere) {
  const LineFit fit = fitOf({});
  for (const double each : {fit.slope, fit.intercept, fit.sdx, fit.sdy, fit.r2}) {
    EXPECT_TRUE(std::isnan(each)) << each;
  }
}

TEST(LinearRegression, DeliberateOneElementGivesNotANumberForTheLine) {
  const LineFit fit = fitOf({1500});
  EXPECT_TRUE(std::isnan(fit.slope));
  EXPECT_TRUE(std::isnan(fit.intercept));
  EXPECT_TRUE(std::isnan(fit.r2));
  EXPECT_EQ(fit.sdx, 0);
  EXPECT_EQ(fit.sdy, 0);
}

TEST(LinearRegression, DeliberateEqualElementsGiveNotANumberForR2) {
  const LineFit fit = fitOf({5, 5, 5});
  EXPECT_EQ(fit.slope, 0);
  EXPECT_EQ(fit.intercept, 5);
  EXPECT_EQ(fit.sdx, std::sqrt(5.0 / 3 - 1));
  EXPECT_EQ(fit.sdy, 0);
  EXPECT_TRUE(std::isnan(fit.r2));
}

TEST(LinearRegression, DeliberateEqualFractionsGiveWhatTheRoundingLeaves) {
  // The mean of the squares is rounded below the square of the mean: the root of less than 0.
  EXPECT_TRUE(std::isnan(fitOf({0.1, 0.1, 0.1}).sdy));
  EXPECT_EQ(fitOf({0.1, 0.1, 0.1, 0.1, 0.1}).sdy, 0);
  EXPECT_FALSE(std::isnan(fitOf({0.1, 0.1, 0.1, 0.1, 0.1}).r2));
}

TEST(LinearRegression, AnElementThatIsNoNumberIsTheWrongArgument) {
  struct Row {
    std::vector<Value> values;
    std::string reason;
  };
  const std::vector<Row> rows{
      {{Value()}, "element 0 is no number but (null)"},
      {{1, Array::make({1})}, "element 1 is no number but Array"},
      {{1, "2", Dictionary::make()}, "element 2 is no number but Dictionary"},
      {{1, 2.5, true, Data(), Value()}, "element 3 is no number but Data"},
  };
  for (const Row& row : rows) {
    try {
      const LineFit fit = fitOf(row.values);
      ADD_FAILURE() << row.reason << ": " << fit.slope;
    } catch (const Exception& exception) {
      EXPECT_EQ(exception.name(), Exception::kInvalidArgument);
      EXPECT_EQ(exception.reason(), row.reason);
    }
  }
}

}  // namespace
}  // namespace halvarin::test
