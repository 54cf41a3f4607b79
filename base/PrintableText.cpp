#include "base/PrintableText.h"

#include <algorithm>
#include <cstddef>

#include "base/Text.h"

namespace halvarin {

namespace {

/// The bytes of the character that a text begins with, if a terminal takes it for a command or
/// shows the text after it in another order; 0 for every other.
std::size_t hiddenLength(std::string_view utf8) {
  const auto at = [utf8](std::size_t i) {
    return i < utf8.size() ? static_cast<unsigned char>(utf8[i]) : 0U;
  };
  if (at(0) == 0xC2 && at(1) < 0xA0) {
    return 2;  // U+0080 to U+009F
  }
  const bool turnsText = at(0) == 0xE2 && ((at(1) == 0x80 && at(2) >= 0xAA && at(2) <= 0xAE) ||
                                           (at(1) == 0x81 && at(2) >= 0xA6 && at(2) <= 0xA9));
  return turnsText ? 3 : 0;  // U+202A to U+202E, U+2066 to U+2069
}

}  // namespace

std::string printable(std::string_view text) {
  const bool isText = utf16(text).has_value();
  std::string shown;
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = isText ? hiddenLength(text.substr(i)) : 0;
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool isControl = byte < 0x20 || byte == 0x7F || (!isText && byte >= 0x80);
    shown += length > 0 || isControl ? '?' : text[i];
    i += std::max<std::size_t>(length, 1);
  }
  return shown;
}

}  // namespace halvarin
