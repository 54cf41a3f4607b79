#pragma once

#include <string_view>

#include "base/Export.h"

// What the facade announces after each update pass.

namespace halvarin {

extern "C" {

/// "sensorUpdateNotification": the name of the notification that the facade posts on the default
/// center, on the main thread, with itself as the sender.
HALVARIN_EXPORT extern const char* const kSensorUpdateNotify;

}  // extern "C"

/// Whether a power source of that name feeds the machine from the mains: its name has "AC" in it.
/// Batteries and uninterruptible supplies do not count.
[[nodiscard]] HALVARIN_EXPORT bool isMainsPower(std::string_view powerSource);

namespace update {

// The seven entries that the notification carries.
inline constexpr std::string_view kPowerSource = "powerSource";  // text
inline constexpr std::string_view kFans = "fans";                // array of fan dictionaries
inline constexpr std::string_view kTemps = "temps";  // array of records, readings below 0 left out
// The category arrays themselves, whose records the next pass overwrites.
inline constexpr std::string_view kVoltage = "voltage";
inline constexpr std::string_view kCurrent = "current";
inline constexpr std::string_view kPower = "power";
inline constexpr std::string_view kLight = "light";

}  // namespace update

}  // namespace halvarin
