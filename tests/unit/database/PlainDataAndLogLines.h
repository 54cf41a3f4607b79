#pragma once

#include <gmock/gmock.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Data.h"

// Data to encipher, and the log line about what cannot be deciphered.

namespace halvarin::test {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::string_view kDecipherError = "QXEDManager::deData: error: ";

/// A line that begins with this and says something after it.
inline auto saysMoreThan(std::string_view beginning) {
  return ::testing::AllOf(::testing::StartsWith(std::string(beginning)),
                          ::testing::ResultOf([](const std::string& line) { return line.size(); },
                                              ::testing::Gt(beginning.size())));
}

/// Bytes that differ from place to place.
inline Data plainOf(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  }
  return Data(bytes);
}

}  // namespace halvarin::test
