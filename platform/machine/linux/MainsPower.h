#pragma once

#include <string>

#include "platform/machine/linux/FileTree.h"

namespace halvarin::platform {

/// What feeds the computer now, by the platform's names: "AC Power" or "Battery Power". A computer
/// that has no supply to ask is one without a battery.
[[nodiscard]] std::string powerSourceOf(FileTree& files);

}  // namespace halvarin::platform
