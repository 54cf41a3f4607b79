#include "platform/machine/UnchosenMachine.h"

#include "platform/machine/ThisComputer.h"

namespace halvarin::platform {

std::shared_ptr<Machine> unchosenMachine() {
  return thisComputer();
}

}  // namespace halvarin::platform
