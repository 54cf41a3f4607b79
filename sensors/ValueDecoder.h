#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "base/Export.h"

// Key readings to display text, by the controller's data type.

namespace halvarin {

/// The place of a character in "0123456789abcdefgh", without regard to case; 0 when it has none.
/// Deliberate: the alphabet runs to h, eighteen characters, since the controller counts fraction
/// bits past fifteen.
[[nodiscard]] HALVARIN_EXPORT int valueHex(signed char character);

/// A reading as a key record holds it; text and bytes are the caller's.
struct RawReading {
  std::string_view dataType;                // "" when the record has none
  std::int64_t dataSize = 0;                // bytes
  std::int64_t value = 0;                   // the integer reading
  std::span<const std::uint8_t> dataBytes;  // the bytes of the reply
};

/// The display text of a successful reading; "" for a type or a size that has none. Throws
/// Exception (range) for a fixed-point type whose name is shorter than four characters: the number
/// of its fraction bits cannot be taken.
[[nodiscard]] HALVARIN_EXPORT std::string decodeReading(const RawReading& reading);

/// The display text of a failed reading: "error " and the status in hexadecimal.
[[nodiscard]] HALVARIN_EXPORT std::string errorText(std::int32_t status);

}  // namespace halvarin
