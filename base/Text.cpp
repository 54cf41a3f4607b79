#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace halvarin {

namespace {

struct Decoded {
  char32_t codePoint;
  std::size_t length;  // bytes taken; 0 when the bytes are not UTF-8
};

constexpr Decoded kInvalid{0, 0};

bool isOneByte(char character) {
  return static_cast<unsigned char>(character) < 0x80;
}

// How many bytes a sequence takes, from its first byte; 0 for a byte that cannot begin one.
std::size_t sequenceLength(unsigned char first) {
  if (first < 0x80) {
    return 1;
  }
  if (first >= 0xC2 && first < 0xE0) {
    return 2;
  }
  if (first >= 0xE0 && first < 0xF0) {
    return 3;
  }
  return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

bool isScalarValue(char32_t codePoint, std::size_t length) {
  constexpr std::array<char32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = codePoint >= 0xD800 && codePoint < 0xE000;
  return codePoint >= kSmallest[length] && codePoint <= 0x10FFFF && !surrogate;
}

Decoded decodeFirst(std::string_view utf8) {
  const auto first = static_cast<unsigned char>(utf8.front());
  const std::size_t length = sequenceLength(first);
  if (length == 0 || length > utf8.size()) {
    return kInvalid;
  }
  char32_t codePoint = length == 1 ? first : first & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<unsigned char>(utf8[i]);
    if ((next & 0xC0U) != 0x80U) {
      return kInvalid;
    }
    codePoint = (codePoint << 6U) | (next & 0x3FU);
  }
  return isScalarValue(codePoint, length) ? Decoded{codePoint, length} : kInvalid;
}

}  // namespace

std::optional<std::u16string> utf16(std::string_view utf8) {
  std::u16string units;
  while (!utf8.empty()) {
    const Decoded decoded = decodeFirst(utf8);
    if (decoded.length == 0) {
      return std::nullopt;
    }
    if (decoded.codePoint < 0x10000) {
      units.push_back(static_cast<char16_t>(decoded.codePoint));
    } else {
      const char32_t offset = decoded.codePoint - 0x10000;
      units.push_back(static_cast<char16_t>(0xD800 + (offset >> 10U)));
      units.push_back(static_cast<char16_t>(0xDC00 + (offset & 0x3FFU)));
    }
    utf8.remove_prefix(decoded.length);
  }
  return units;
}

std::optional<char16_t> utf16Unit(std::string_view utf8, std::size_t place) {
  if (std::all_of(utf8.begin(), utf8.end(), isOneByte)) {
    return place < utf8.size() ? std::optional<char16_t>(utf8[place]) : std::nullopt;
  }
  const auto units = utf16(utf8);
  return units && place < units->size() ? std::optional((*units)[place]) : std::nullopt;
}

std::string_view leadingUtf8(std::string_view bytes) {
  std::size_t valid = 0;
  while (valid < bytes.size()) {
    const std::size_t length = decodeFirst(bytes.substr(valid)).length;
    if (length == 0) {
      break;
    }
    valid += length;
  }
  return bytes.substr(0, valid);
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) {
    return {};
  }
  return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

}  // namespace halvarin
