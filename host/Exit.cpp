#include "host/Exit.h"

#include <IOKit/IOKitLib.h>

#include "selftest/TestStatus.h"

namespace halvarin::host {

Exit exitFor(std::int32_t status) {
  switch (status) {
    case kIOReturnNotPrivileged:
    case kIOReturnNotPermitted:
      return Exit::notPermitted;
    case kIOReturnNoDevice:
    case KERN_FAILURE:  // what a write gives when there is no service any more
    case MACH_SEND_INVALID_DEST:
      return Exit::noMachine;
    default:
      return Exit::ownFailure;
  }
}

Exit exitForTest(std::string_view status) {
  if (status == status::kCanceled) {
    return Exit::canceled;
  }
  return status == status::kPassed ? Exit::fine : Exit::failed;
}

}  // namespace halvarin::host
