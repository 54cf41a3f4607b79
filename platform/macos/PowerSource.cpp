#include "platform/PowerSource.h"

#include <IOKit/ps/IOPowerSources.h>

#include "platform/macos/CFObjects.h"

namespace halvarin::platform {

std::string providingPowerSourceType() {
  const CFStringRef type = IOPSGetProvidingPowerSourceType(nullptr);
  return type == nullptr ? "" : utf8Of(type);
}

}  // namespace halvarin::platform
