#pragma once

#include <string>

#include "base/Export.h"

// What feeds the machine. Bodies: posix/PowerSource.cpp, macos/PowerSource.cpp.

namespace halvarin::platform {

/// The platform's name of the source that feeds the machine now: "AC Power", "Battery Power",
/// "UPS Power"; empty when the platform gives none.
[[nodiscard]] HALVARIN_EXPORT std::string providingPowerSourceType();

}  // namespace halvarin::platform
