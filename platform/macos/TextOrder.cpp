#include "platform/TextOrder.h"

#include "platform/macos/CFObjects.h"

namespace halvarin::platform {

int compareNumericCaseInsensitive(std::string_view a, std::string_view b) {
  // Core Foundation compares character by character unless it is told otherwise; comparing for
  // people does not.
  constexpr CFStringCompareFlags kOptions =
      kCFCompareCaseInsensitive | kCFCompareNumerically | kCFCompareNonliteral;
  return static_cast<int>(
      CFStringCompare(cfTextOfAnyBytes(a).get(), cfTextOfAnyBytes(b).get(), kOptions));
}

}  // namespace halvarin::platform
