#include "platform/posix/SystemLoop.h"

#include <dispatch/dispatch.h>

namespace halvarin::platform {

void callFromSystemLoop(void (*function)(void*)) {
  dispatch_async_f(dispatch_get_main_queue(), nullptr, function);
}

}  // namespace halvarin::platform
