#pragma once

#include "base/Dictionary.h"

// The names of all sensors that a sensor database knows.

namespace halvarin {

/// The descriptions of every model's sensors by the category that they are shown in, in a new
/// dictionary: an array of texts for each, trimmed, each text once, sorted for people.
/// Accelerometers are shown as "Motion" and photometers as "Light", all other types as they are. A
/// descriptor without a description or a type is left out. Deliberate: two descriptions are
/// compared by as much of the first as the second is long, so that the order of descriptions of
/// different length may depend on which of them is asked.
[[nodiscard]] DictionaryRef categorizedDescriptors(const Dictionary& sensorDatabase);

}  // namespace halvarin
