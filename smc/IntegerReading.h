#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "base/Export.h"

namespace halvarin {

/// The integer that the value bytes of a reply stand for: big-endian for sizes 1, 2, 4 and 8, else
/// 0. The controller hands "ui16", "ui32" and "ui64" back in either byte order, so for these the
/// order that gives the smaller magnitude counts; a tie stays big-endian.
[[nodiscard]] HALVARIN_EXPORT std::int64_t smcIntegerReading(
    std::string_view dataType, std::int64_t dataSize, const std::array<std::uint8_t, 32>& bytes);

}  // namespace halvarin
