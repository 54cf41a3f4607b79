#pragma once

#include <string>
#include <vector>

#include "base/Dictionary.h"

// The sensor self-test as a function of one update pass.

namespace halvarin {

struct SensorsVerdict {
  bool passed = true;              // every tested reading lies inside its limits
  std::vector<std::string> lines;  // one for each tested reading, in the order of the pass
};

/// "CPU proximity: 45.00 °C, 113.00 °F" for a record in "oC", "CPU core: 1.05 V" for any other
/// unit. What the record lacks shows as "(null)".
[[nodiscard]] std::string sensorLine(const Dictionary& record);

/// Judges every record of an update pass (sensors/SensorUpdate.h) but the fans. A record without a
/// verdict is outside. Deliberate: the sensor described as "CPU AXG" is passed over.
[[nodiscard]] SensorsVerdict judgeSensors(const Dictionary& pass);

}  // namespace halvarin
