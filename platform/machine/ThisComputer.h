#pragma once

#include <memory>

#include "platform/machine/Machine.h"

namespace halvarin::platform {

/// The computer itself as a machine; one for the process, never null, any thread. A Mac that runs
/// Linux where the kernel's driver for the controller is loaded (looked for at the first call),
/// else a computer without a controller. On macOS the system's calls ask no machine, and this one
/// is without.
[[nodiscard]] std::shared_ptr<Machine> thisComputer();

}  // namespace halvarin::platform
