#include "sensors/FanKey.h"

namespace halvarin::fan {

std::string digit(std::uint32_t fan) {
  const std::uint32_t wide = fan < 10 ? '0' + fan : 'A' + (fan - 10);
  const auto code = static_cast<unsigned char>(wide);
  std::string text;
  if (code < 0x80) {
    text.push_back(static_cast<char>(code));
  } else {
    text.push_back(static_cast<char>(0xC0U | (code >> 6U)));
    text.push_back(static_cast<char>(0x80U | (code & 0x3FU)));
  }
  return text;
}

std::string key(std::uint32_t fan, std::string_view suffix) {
  return "F" + digit(fan) + std::string(suffix);
}

}  // namespace halvarin::fan
