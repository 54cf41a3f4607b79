#include "platform/posix/SystemLogLine.h"

#include "platform/macos/FoundationText.h"

namespace halvarin::platform {

void writeSystemLogLine(std::string_view line) {
  @autoreleasepool {
    NSLog(@"%@", foundationText(line));
  }
}

}  // namespace halvarin::platform
