#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "platform/machine/MachineFile.h"

// The names of a fan's keys, and the speeds that they hold in RPM.

namespace halvarin::platform {

inline constexpr std::uint32_t kMostFans = 36;  // one character names a fan: 0 to 9, then A to Z

/// The key of a fan below kMostFans: fan 0 and "Ac" make "F0Ac".
[[nodiscard]] FourBytes fanKey(std::uint32_t fan, std::string_view what);

/// Whether a key of this type and size can hold a speed: "fpe2", "flt ", or "ui16" (RPM times 4).
[[nodiscard]] bool holdsSpeed(const RecordedKey& key);

/// The speed that the key holds; absent when it holds none, or a float that is no finite number.
[[nodiscard]] std::optional<double> heldSpeed(const RecordedKey& key);

/// The bytes from which a reader of a key that holds speeds gets the speed nearest to this one.
[[nodiscard]] std::vector<std::uint8_t> speedBytes(const RecordedKey& key, double rpm);

/// The fans, in ascending order, that a simulated machine with these keys can turn: those whose key
/// of the actual speed ("F0Ac") can hold a speed.
[[nodiscard]] HALVARIN_EXPORT std::vector<std::uint32_t> simulatedFans(
    const std::vector<RecordedKey>& keys);

}  // namespace halvarin::platform
