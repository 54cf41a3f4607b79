#pragma once

#include <string>
#include <vector>

#include "base/Dictionary.h"
#include "selftest/QXFanTest.h"

namespace halvarin::host {

/// The titles of the columns of a fan's samples; docs/program.md explains them.
[[nodiscard]] std::string csvHeader();

/// A sample as a line of such a file: where the run stood, and what the fan showed.
[[nodiscard]] std::string csvLine(const FanTestProgress& progress, const Dictionary& fan);

/// Writes a fan's samples under the header with `saveFanAsCSV`, which does not tell how that went,
/// and looks for them. Their path; "" when they could not be written.
[[nodiscard]] std::string savedCsv(const QXFanTest& test, const std::string& model,
                                   const std::string& user,
                                   const std::vector<std::string>& samples);

}  // namespace halvarin::host
