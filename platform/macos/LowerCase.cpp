#include "platform/posix/LowerCase.h"

#include "platform/macos/CFObjects.h"

namespace halvarin::platform {

std::string lowercasedUtf8(std::string_view utf8) {
  const Owned<CFMutableStringRef> text(
      CFStringCreateMutableCopy(kCFAllocatorDefault, 0, cfText(utf8).get()));
  CFStringLowercase(text.get(), nullptr);
  return utf8Of(text.get());
}

}  // namespace halvarin::platform
