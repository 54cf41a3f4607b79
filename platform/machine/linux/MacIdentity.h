#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/machine/linux/FileTree.h"

// Which Mac the computer is, by the names that macOS would give it.

namespace halvarin::platform {

/// The model identifier ("MacBookPro16,1"): of one with Apple silicon by the board's name in the
/// device tree, or that name itself ("apple,j999") where no identifier is known for it; of an Intel
/// Mac from its firmware's tables. "" when nothing tells it.
[[nodiscard]] std::string modelIdentifier(FileTree& files);

/// The processor's name ("Apple M1", or the name that an Intel processor gives itself); "" when
/// nothing tells it.
[[nodiscard]] std::string processorName(FileTree& files);

/// A board or a chip of the device tree, without "apple,", and what it is.
struct DeviceTreeName {
  std::string_view name;
  std::string_view meaning;
};
[[nodiscard]] const std::vector<DeviceTreeName>& knownBoards();
[[nodiscard]] const std::vector<DeviceTreeName>& knownChips();

}  // namespace halvarin::platform
