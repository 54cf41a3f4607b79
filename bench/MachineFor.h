#pragma once

#include <cstddef>

#include "platform/machine/MachineFile.h"

namespace halvarin::bench {

/// The built-in laptop with keys of no meaning added until it has `keys` of them.
[[nodiscard]] platform::RecordedMachine laptopWithKeys(std::size_t keys);

/// Makes it the current machine, once per process: the library keeps its connection for good.
void installLaptop();

inline constexpr std::size_t kLaptopKeys = 900;

}  // namespace halvarin::bench
