#include "platform/machine/BareComputer.h"
#include "platform/machine/CurrentMachine.h"
#include "platform/machine/ThisComputer.h"

namespace halvarin::platform {

bool machineMayBeChosen() {
  return false;
}

std::shared_ptr<Machine> thisComputer() {
  static const auto* const computer =
      new std::shared_ptr<Machine>(std::make_shared<BareComputer>());
  return *computer;
}

}  // namespace halvarin::platform
