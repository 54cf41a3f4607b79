#include "platform/posix/SystemLogLine.h"

#include "platform/macos/FoundationText.h"

namespace halvarin::platform {

void writeSystemLogLine(std::string_view line) {
  NSLog(@"%@", foundationText(line));
}

}  // namespace halvarin::platform
