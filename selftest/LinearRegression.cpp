#include "selftest/LinearRegression.h"

#include <cmath>
#include <cstddef>
#include <string>

#include "base/Exception.h"

namespace halvarin {

namespace {

struct Sums {
  double x = 0;
  double y = 0;
  double xx = 0;
  double yy = 0;
  double xy = 0;
};

double numberAt(const ArrayElements& elements, std::size_t place) {
  const Value& element = elements[place];
  if (!element.isReal() && !element.isInteger() && !element.isBoolean() && !element.isText()) {
    throw Exception(Exception::kInvalidArgument, "element " + std::to_string(place) +
                                                     " is no number but " + element.className());
  }
  return element.doubleValue();
}

Sums sumsOf(const ArrayElements& elements) {
  Sums sums;
  for (std::size_t place = 0; place < elements.size(); ++place) {
    const auto x = static_cast<double>(place);
    const double y = numberAt(elements, place);
    sums.x += x;
    sums.y += y;
    sums.xx += x * x;
    sums.yy += y * y;
    sums.xy += x * y;
  }
  return sums;
}

double standardDeviation(double sum, double sumOfSquares, double n) {
  const double mean = sum / n;
  return std::sqrt(sumOfSquares / n - mean * mean);
}

}  // namespace

LineFit fitLine(const Array& values) {
  const ArrayElements elements = values.elements();
  const Sums sums = sumsOf(elements);
  const auto n = static_cast<double>(elements.size());
  const double sxx = n * sums.xx - sums.x * sums.x;
  const double syy = n * sums.yy - sums.y * sums.y;
  const double sxy = n * sums.xy - sums.x * sums.y;
  return {.slope = sxy / sxx,
          .intercept = (sums.y * sums.xx - sums.x * sums.xy) / sxx,
          .sdx = standardDeviation(sums.x, sums.xx, n),
          .sdy = standardDeviation(sums.y, sums.yy, n),
          .r2 = (sxy * sxy) / (sxx * syy)};
}

}  // namespace halvarin
