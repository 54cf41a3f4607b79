#pragma once

#include <memory>

#include "platform/machine/Machine.h"
#include "platform/machine/linux/FileTree.h"

namespace halvarin::platform {

/// The computer itself: a Mac under Linux where the kernel's driver for the controller is loaded,
/// else a computer without a controller. Looked for at the first call; one for the process. Any
/// thread.
[[nodiscard]] std::shared_ptr<Machine> thisComputer();

/// For tests, before the first use of thisComputer: the files that it looks at instead of the
/// computer's own.
void placeThisComputerIn(std::shared_ptr<FileTree> files);

}  // namespace halvarin::platform
