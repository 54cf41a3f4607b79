#include "platform/posix/SystemLoop.h"

namespace halvarin::platform {

void callFromSystemLoop(void (* /*function*/)(void*)) {}

}  // namespace halvarin::platform
