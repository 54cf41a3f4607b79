#pragma once

#include <string_view>

namespace halvarin::fan {

// The nine entries of a fan dictionary, in their order. Speeds are in revolutions per minute.
inline constexpr std::string_view kIndex = "index";        // number, from 0
inline constexpr std::string_view kEnabled = "enabled";    // number: 1 below index 15, else 0
inline constexpr std::string_view kMode = "mode";          // number: 0 automatic, 1 forced
inline constexpr std::string_view kSpeed = "speed";        // number, single precision, as are
inline constexpr std::string_view kTarget = "target";      // these
inline constexpr std::string_view kMin = "min";            //
inline constexpr std::string_view kMax = "max";            //
inline constexpr std::string_view kTemp = "temp";          // text: the machine's hottest reading
inline constexpr std::string_view kLocation = "location";  // text: "Left side  ", "Fan0"

}  // namespace halvarin::fan
