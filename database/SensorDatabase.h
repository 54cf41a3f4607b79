#pragma once

#include <string_view>

// The names in the sensor database: model identifier -> "Sensors" -> key -> descriptor.

namespace halvarin::database {

// Entries of a model.
inline constexpr std::string_view kSensors = "Sensors";
inline constexpr std::string_view kName = "Name";  // text: "MacBook Pro (15-inch, 2018)"
inline constexpr std::string_view kChip = "Chip";  // text: generation of the processor
inline constexpr std::string_view kList = "List";  // text: how the model's key list is known
inline constexpr std::string_view kRelative = "Relative";  // text: the model whose list it shares

// Entries of a sensor descriptor, all optional.
inline constexpr std::string_view kDescription = "description";  // text
inline constexpr std::string_view kUnit = "unit";                // text: "oC"
inline constexpr std::string_view kLowLimit = "low limit";       // text, decimal number
inline constexpr std::string_view kHighLimit = "high limit";     // text, decimal number
inline constexpr std::string_view kACqualified = "ACqualified";  // truth: limits hold on mains only
inline constexpr std::string_view kType = "type";                // text: kind of sensor

}  // namespace halvarin::database
