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
  for (std::size_t i = 0; i < shown.size(); ++i) {
    const auto byte = static_cast<unsigned char>(shown[i]);
    if (byte < 0x20 || byte == 0x7F || (!isText && byte >= 0x80)) {
      shown[i] = '?';
    } else if (byte == 0xC2 && static_cast<unsigned char>(shown[i + 1]) < 0xA0) {
      // U+0080 to U+009F: some terminals take these for the beginning of a command.
      shown.replace(i, 2, "?");
    }
  }
  return shown;
}

}  // namespace halvarin::host
