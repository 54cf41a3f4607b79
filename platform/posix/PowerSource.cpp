#include "platform/PowerSource.h"

#include "platform/machine/CurrentMachine.h"

namespace halvarin::platform {

std::string providingPowerSourceType() {
  return currentMachine()->powerSource();
}

}  // namespace halvarin::platform
