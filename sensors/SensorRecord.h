#pragma once

#include <string_view>

namespace halvarin::record {

// What the facade adds to a key record (smc/KeyRecord.h).

// Set when the facade starts, from the sensor database; "" where it has none.
inline constexpr std::string_view kDescription = "description";  // text
inline constexpr std::string_view kUnit = "unit";                // text: "oC", "V"
inline constexpr std::string_view kHighLimit = "high limit";     // text, decimal number
inline constexpr std::string_view kLowLimit = "low limit";       // text, decimal number
inline constexpr std::string_view kACqualified = "ACqualified";  // truth; only where it is stated

// Set by each successful reading of a category.
inline constexpr std::string_view kIsInsideLimits = "isInsideLimits";  // truth

}  // namespace halvarin::record
