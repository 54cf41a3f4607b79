#pragma once

#include <span>
#include <string>
#include <string_view>

#include "selftest/FanTestMachine.h"

// What the fan self-test says in the end, as functions of a run.

namespace halvarin {

/// How much of the range between a fan's least and highest speed it was measured to cover, 1 for
/// all of it. Deliberate: infinite or not-a-number for a fan whose highest speed is its least.
[[nodiscard]] double coveredRange(const FanTestRun& run, const FanReading& last);

/// The status of a run that has ended: "Canceled"; "Timeout", it never turned; "Passed", it was
/// seen at both speeds, or covers more than 0.6 of its range; else "Failed".
[[nodiscard]] std::string_view fanVerdict(const FanTestRun& run, double coveredRange,
                                          bool isCanceled);

/// The line of the log that sums a run up.
[[nodiscard]] std::string fanSummaryLine(std::string_view location, std::string_view status,
                                         const FanTestRun& run, const FanReading& last,
                                         double coveredRange);

/// The status of a batch by those of its fans: "Canceled" if one is, "Failed" if one failed or
/// timed out, else "Passed", also without any.
[[nodiscard]] std::string_view batchVerdict(std::span<const std::string> statuses);

}  // namespace halvarin
