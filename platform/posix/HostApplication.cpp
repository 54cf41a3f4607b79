#include "platform/SystemLog.h"
#include "platform/posix/HostBundle.h"

namespace halvarin::platform {

void showAlertOfApplication(const Alert& alert) {
  systemLog(alertLine(alert));
}

void forwardApplicationEnd() {}

}  // namespace halvarin::platform
