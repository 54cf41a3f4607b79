#pragma once

#include "base/Array.h"

// How a series of numbers follows its places, as a plain function.

namespace halvarin {

/// The straight line through a series: y is a number of it, x its place from 0 on.
struct LineFit {
  double slope = 0;      // in units of y for each place
  double intercept = 0;  // in units of y, at place 0
  double sdx = 0;        // standard deviation of x, of the whole population (divided by n)
  double sdy = 0;        // the same of y
  double r2 = 0;         // coefficient of determination, 0 to 1
};

/// Fits a line by least squares, from sums in double precision. Texts count as the number that they
/// begin with. An element that is neither text, number nor truth value throws an Exception named
/// kInvalidArgument.
/// Deliberate: nothing is guarded. No element gives not-a-number everywhere, one element gives it
/// for slope, intercept and r2, and equal elements give it for r2, or anything at all for r2 and
/// sdy where their sums are rounded.
[[nodiscard]] LineFit fitLine(const Array& values);

}  // namespace halvarin
