#include "host/VerdictText.h"

#include <cmath>

#include "base/NumberText.h"
#include "sensors/SensorRecord.h"
#include "smc/KeyRecord.h"

namespace halvarin::host {

namespace {

Cell outsideCell(double value, double low) {
  if (std::isnan(value)) {
    return {"not a number", Tone::bad};
  }
  return {value < low ? "too low" : "too high", Tone::bad};
}

}  // namespace

bool isOutside(const Dictionary& record) {
  const Value inside = record.get(record::kIsInsideLimits);
  return record.get(record::kError).intValue() == 0 && !inside.isNothing() && !inside.boolValue();
}

Cell verdictOf(const Dictionary& record, bool onMains) {
  const auto [error, value, low, high, mainsOnly] = record.getEach(std::array{
      record::kError, record::kValue, record::kLowLimit, record::kHighLimit, record::kACqualified});
  if (error.isNothing() || error.intValue() != 0) {
    return {"not read", Tone::bad};
  }
  if (isOutside(record)) {
    return outsideCell(value.doubleValue(), low.doubleValue());
  }
  if (low.textView().empty() || high.textView().empty()) {
    return {"no limits"};
  }
  if (value.textView().empty()) {
    return {"no value"};
  }
  return mainsOnly.boolValue() && !onMains ? Cell{"on mains only"} : Cell{"ok", Tone::good};
}

std::string limitsOf(const Dictionary& record) {
  const std::string low = record.get(record::kLowLimit).text().string();
  const std::string high = record.get(record::kHighLimit).text().string();
  return low.empty() || high.empty() ? "" : low + " to " + high;
}

}  // namespace halvarin::host
