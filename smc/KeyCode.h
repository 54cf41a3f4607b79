#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Export.h"

// The four-character codes that name keys and data types, in their three forms: text ("FNum"), the
// wire integer that travels in a call record (first character in the most significant byte), and
// the record integer that key records keep (first character in the least significant byte, which is
// the four bytes as a little-endian host has them in memory).

namespace halvarin {

/// The record integer of the first four bytes of a text; missing bytes are 0.
[[nodiscard]] HALVARIN_EXPORT std::uint32_t recordInteger(std::string_view text);

/// Record integer to wire integer and back: the byte order reversed.
[[nodiscard]] HALVARIN_EXPORT std::uint32_t swappedCode(std::uint32_t code);

/// The text of a record integer: its four bytes, cut at the first zero byte. Absent when they are
/// not UTF-8.
[[nodiscard]] HALVARIN_EXPORT std::optional<std::string> codeText(std::uint32_t recordInteger);

}  // namespace halvarin
