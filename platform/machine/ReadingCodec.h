#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/machine/MachineFile.h"

// Numbers in the controller's own types, from the controller's side: what bytes a key must hold so
// that a reading of it shows a number.

namespace halvarin::platform {

/// The bytes of a key of this type and size whose reading is nearest to `number`. Absent when no
/// reading of the type is a number. Signed integers are stored the way they are read back, with
/// their first byte lowest.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> encodeReading(const FourBytes& type,
                                                                     std::uint32_t sizeBytes,
                                                                     double number);

/// The number that a float or fixed-point key holds; absent for other types and odd sizes.
[[nodiscard]] std::optional<double> decodeReal(const FourBytes& type,
                                               const std::vector<std::uint8_t>& bytes);

}  // namespace halvarin::platform
