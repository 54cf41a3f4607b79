#pragma once

#include <string>

#include "base/Dictionary.h"
#include "selftest/QXFanTest.h"

namespace halvarin::host {

/// The titles of the columns of a fan's samples; docs/program.md explains them.
[[nodiscard]] std::string csvHeader();

/// A sample as a line of such a file: where the run stood, and what the fan showed.
[[nodiscard]] std::string csvLine(const FanTestProgress& progress, const Dictionary& fan);

}  // namespace halvarin::host
