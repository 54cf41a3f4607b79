#pragma once

#include "base/Export.h"
#include "platform/machine/MachineFile.h"

namespace halvarin::platform {

/// The machine for those who have none: a healthy Intel laptop with the T2 chip and two fans, on
/// mains power under light load (builtin/laptop.txt).
[[nodiscard]] HALVARIN_EXPORT RecordedMachine builtInLaptop();

}  // namespace halvarin::platform
