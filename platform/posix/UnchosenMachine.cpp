#include "platform/machine/UnchosenMachine.h"

#include "platform/machine/linux/ThisComputer.h"

namespace halvarin::platform {

std::shared_ptr<Machine> unchosenMachine() {
  return thisComputer();
}

}  // namespace halvarin::platform
