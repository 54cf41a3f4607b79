#include "platform/TextOrder.h"

#include "platform/macos/CFObjects.h"

namespace halvarin::platform {

int compareNumericCaseInsensitive(std::string_view a, std::string_view b) {
  return static_cast<int>(CFStringCompare(cfTextOfAnyBytes(a).get(), cfTextOfAnyBytes(b).get(),
                                          kCFCompareCaseInsensitive | kCFCompareNumerically));
}

}  // namespace halvarin::platform
