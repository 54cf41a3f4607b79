#include "host/Terminal.h"

#include <unistd.h>

#include <cstdlib>

#include "base/Text.h"

namespace halvarin::host {

bool mayColour() {
  const char* noColour = std::getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) == 1 && (noColour == nullptr || *noColour == '\0');
}

std::string printable(std::string_view text) {
  const bool isText = utf16(text).has_value();
  std::string shown(text);
  for (char& character : shown) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x20 || byte == 0x7F || (!isText && byte >= 0x80)) {
      character = '?';
    }
  }
  return shown;
}

}  // namespace halvarin::host
