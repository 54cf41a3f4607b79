#pragma once

#include <memory>

#include "platform/machine/ThisComputer.h"
#include "platform/machine/linux/FileTree.h"

namespace halvarin::platform {

/// For tests, before the first use of thisComputer: the files that it looks at instead of the
/// computer's own.
void placeThisComputerIn(std::shared_ptr<FileTree> files);

}  // namespace halvarin::platform
