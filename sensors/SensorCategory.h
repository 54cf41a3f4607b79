#pragma once

#include <array>
#include <string_view>

namespace halvarin {

/// A category of sensors: which keys belong to it.
struct SensorCategory {
  std::string_view name;
  std::string_view pattern;  // "?" is exactly one character
  bool describedOnly;        // fans are needed whatever the database says
};

/// All of them, in the order in which they are built.
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

}  // namespace halvarin
