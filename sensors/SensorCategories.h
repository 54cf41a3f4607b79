#pragma once

#include <array>
#include <string_view>

#include "base/Array.h"
#include "base/Dictionary.h"

namespace halvarin {

/// A category of sensors: which keys belong to it.
struct SensorCategory {
  std::string_view name;
  std::string_view pattern;  // "?" is exactly one character
  bool describedOnly;        // fans are needed whatever the database says
};

/// In the order in which they are built.
inline constexpr std::array<SensorCategory, 9> kSensorCategories{{
    {"temperature", "T???", true},
    {"voltage", "V???", true},
    {"current", "I???", true},
    {"power", "P???", true},
    {"light", "ALSL", true},
    {"motion", "MO_?", true},
    {"magnetic", "MSLD", true},
    {"calibration", "MSC?", true},
    {"fans", "F???", false},
}};

/// The records whose key matches a pattern, in their order, after the descriptor that a sensor
/// table (null: none) has for each key was copied into it: "description", "unit", "high limit" and
/// "low limit", "" where the table has none, and "ACqualified" only where it states one. With
/// `describedOnly` records without a description are left out of the result.
ArrayRef describeMatching(const Array& records, const DictionaryRef& sensorTable,
                          std::string_view pattern, bool describedOnly);

}  // namespace halvarin
