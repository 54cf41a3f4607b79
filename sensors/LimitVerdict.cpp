#include "sensors/LimitVerdict.h"

#include "base/NumberText.h"

namespace halvarin {

bool isInsideLimits(std::string_view reading, std::string_view low, std::string_view high,
                    bool mainsOnly, bool onMains) {
  if (low.empty() || high.empty() || reading.empty() || (mainsOnly && !onMains)) {
    return true;
  }
  const double value = decimalReading(reading);
  return decimalReading(low) <= value && value <= decimalReading(high);
}

}  // namespace halvarin
