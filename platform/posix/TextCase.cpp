#include "platform/TextCase.h"

#include "base/Text.h"
#include "platform/posix/LowerCase.h"

namespace halvarin::platform {

std::string lowercased(std::string_view utf8) {
  std::string lower;
  while (!utf8.empty()) {
    const std::string_view valid = leadingUtf8(utf8);
    lower += lowercasedUtf8(valid);
    utf8.remove_prefix(valid.size());
    if (!utf8.empty()) {
      lower += utf8.front();
      utf8.remove_prefix(1);
    }
  }
  return lower;
}

}  // namespace halvarin::platform
