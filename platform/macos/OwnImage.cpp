#include "platform/OwnImage.h"

#include <mach-o/getsect.h>

#include <cstdint>
#include <span>
#include <string>

// The linker defines this at the header of every image, library or program, that it makes.
extern "C" const mach_header_64 __dso_handle;  // NOLINT(bugprone-reserved-identifier): its name

namespace halvarin::platform {

Data ownImageSection(std::string_view segment, std::string_view section) {
  unsigned long size = 0;  // NOLINT(google-runtime-int): what the call takes
  const std::uint8_t* const bytes = getsectiondata(&__dso_handle, std::string(segment).c_str(),
                                                   std::string(section).c_str(), &size);
  return bytes == nullptr ? Data() : Data(std::span(bytes, size));
}

}  // namespace halvarin::platform
