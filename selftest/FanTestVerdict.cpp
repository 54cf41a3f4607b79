#include "selftest/FanTestVerdict.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "base/NumberText.h"
#include "selftest/TestStatus.h"

namespace halvarin {

double coveredRange(const FanTestRun& run, const FanReading& last) {
  const std::int64_t covered = std::int64_t{run.measuredMaxRpm} - run.measuredMinRpm;
  const std::int64_t range = std::int64_t{last.maxRpm} - last.minRpm;
  return std::fabs(static_cast<double>(covered) / static_cast<double>(range));
}

std::string_view fanVerdict(const FanTestRun& run, double coveredRange, bool isCanceled) {
  constexpr double kEnough = 0.6;
  if (isCanceled) {
    return status::kCanceled;
  }
  if (!run.turned) {
    return status::kTimeout;
  }
  const bool isSeenAtBoth = run.hitMin && run.hitMax;
  return isSeenAtBoth || coveredRange > kEnough ? status::kPassed : status::kFailed;
}

std::string fanSummaryLine(std::string_view location, std::string_view status,
                           const FanTestRun& run, const FanReading& last, double coveredRange) {
  const auto text = [](std::string_view view) { return std::string(view); };
  const auto number = [](std::int32_t value) { return std::to_string(value); };
  return "fantest: " + text(location) + " status: " + text(status) + "  exit state: '" +
         text(fanTestStateName(run.exitState)) + "' temp: '" + last.temp.description() +
         " oC' hitMin: " + number(run.hitMin ? 1 : 0) + " hitMax: " + number(run.hitMax ? 1 : 0) +
         " tg_min: " + number(last.minRpm) + " spd_min: " + number(run.measuredMinRpm) +
         " tg_max: " + number(last.maxRpm) + " spd_max: " + number(run.measuredMaxRpm) +
         "  rdr: " + fixedText(coveredRange, 3) + " ";
}

std::string_view batchVerdict(std::span<const std::string> statuses) {
  const auto has = [&](std::string_view status) {
    return std::find(statuses.begin(), statuses.end(), status) != statuses.end();
  };
  if (has(status::kCanceled)) {
    return status::kCanceled;
  }
  return has(status::kTimeout) || has(status::kFailed) ? status::kFailed : status::kPassed;
}

}  // namespace halvarin
