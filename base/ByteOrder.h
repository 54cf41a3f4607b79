#pragma once

#include <cstdint>

namespace halvarin {

/// A word with its four bytes in the opposite order.
[[nodiscard]] constexpr std::uint32_t byteSwapped(std::uint32_t word) {
  return (word << 24U) | ((word & 0xFF00U) << 8U) | ((word >> 8U) & 0xFF00U) | (word >> 24U);
}

}  // namespace halvarin
