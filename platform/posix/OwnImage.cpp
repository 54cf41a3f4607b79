#include "platform/OwnImage.h"

#include <cstddef>
#include <string_view>

// The linker defines these two for a section whose name is a C identifier, and, being hidden, they
// bind to the image that this file is linked into. Weak: an image without the section has neither.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker gives these names.
extern const char __start___sensors_plist[] __attribute__((visibility("hidden"), weak));
extern const char __stop___sensors_plist[] __attribute__((visibility("hidden"), weak));
// NOLINTEND(bugprone-reserved-identifier)
}

namespace halvarin::platform {

Data ownImageSection(std::string_view /*segment*/, std::string_view section) {
  const char* const start = __start___sensors_plist;
  const char* const stop = __stop___sensors_plist;
  if (section != "__sensors_plist" || start == nullptr || stop == nullptr) {
    return {};
  }
  return Data(std::string_view(start, static_cast<std::size_t>(stop - start)));
}

}  // namespace halvarin::platform
