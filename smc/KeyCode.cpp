#include "smc/KeyCode.h"

#include <algorithm>

#include "base/ByteOrder.h"
#include "base/Text.h"

namespace halvarin {

namespace {

constexpr std::size_t kCodeBytes = 4;

}  // namespace

std::uint32_t recordInteger(std::string_view text) {
  std::uint32_t code = 0;
  for (std::size_t i = std::min(text.size(), kCodeBytes); i-- > 0;) {
    code = (code << 8U) | static_cast<unsigned char>(text[i]);
  }
  return code;
}

std::uint32_t swappedCode(std::uint32_t code) {
  return byteSwapped(code);
}

std::optional<std::string> codeText(std::uint32_t recordInteger) {
  std::string text;
  for (std::uint32_t rest = recordInteger; text.size() < kCodeBytes && (rest & 0xFFU) != 0;
       rest >>= 8U) {
    text.push_back(static_cast<char>(rest & 0xFFU));
  }
  return utf16(text) ? std::optional(text) : std::nullopt;
}

}  // namespace halvarin
