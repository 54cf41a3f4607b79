#include "host/VerdictText.h"

#include <cmath>
#include <string_view>

#include "base/LikePattern.h"
#include "sensors/SensorRecord.h"
#include "smc/KeyRecord.h"

namespace halvarin::host {

namespace {

/// Temperature sensors report these whole numbers for what is no temperature: not fitted, not
/// started, not stable, below what can be measured.
bool isSensorCode(double value) {
  constexpr double kLowestCode = -128;
  constexpr double kHighestCode = -124;
  return value >= kLowestCode && value <= kHighestCode && std::trunc(value) == value;
}

/// The power management chips of machines with Apple chips report this for a place on the board
/// that has no thermistor.
bool isPlaceWithoutThermistor(std::string_view key, double value) {
  constexpr double kOpenInput = -22;
  return value == kOpenInput && matchesLike(key, "TR?d");
}

bool standsForNoReading(const Dictionary& record, double value) {
  return record.get(record::kUnit).textView() == "oC" &&
         (isSensorCode(value) ||
          isPlaceWithoutThermistor(record.get(record::kKey).textView(), value));
}

Verdict outsideVerdict(double value, double low) {
  if (std::isnan(value)) {
    return {Finding::outside, "not a number"};
  }
  return {Finding::outside, value < low ? "too low" : "too high"};
}

}  // namespace

Verdict verdictOf(const Dictionary& record, bool onMains) {
  const auto [error, value, low, high, mainsOnly, inside] =
      record.getEach(std::array{record::kError, record::kValue, record::kLowLimit,
                                record::kHighLimit, record::kACqualified, record::kIsInsideLimits});
  // A value that is no text was read but never decoded: a fault ended the reading before it.
  if (error.isNothing() || error.intValue() != 0 || !value.isText()) {
    return {Finding::notRead, "not read"};
  }
  if (standsForNoReading(record, value.doubleValue())) {
    return {Finding::notJudged, "no reading"};
  }
  if (!inside.isNothing() && !inside.boolValue()) {
    return outsideVerdict(value.doubleValue(), low.doubleValue());
  }
  if (low.textView().empty() || high.textView().empty()) {
    return {Finding::notJudged, "no limits"};
  }
  if (value.textView().empty()) {
    return {Finding::notJudged, "no value"};
  }
  return mainsOnly.boolValue() && !onMains ? Verdict{Finding::notJudged, "on mains only"}
                                           : Verdict{Finding::inside, "ok"};
}

Cell verdictCell(const Verdict& verdict) {
  switch (verdict.finding) {
    case Finding::inside:
      return {verdict.text, Tone::good};
    case Finding::outside:
    case Finding::notRead:
      return {verdict.text, Tone::bad};
    case Finding::notJudged:
      break;
  }
  return {verdict.text, Tone::plain};
}

std::string limitsOf(const Dictionary& record) {
  const std::string low = record.get(record::kLowLimit).text().string();
  const std::string high = record.get(record::kHighLimit).text().string();
  return low.empty() || high.empty() ? "" : low + " to " + high;
}

}  // namespace halvarin::host
