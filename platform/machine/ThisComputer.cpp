#include "platform/machine/ThisComputer.h"

#include "platform/machine/BareComputer.h"

namespace halvarin::platform {

std::shared_ptr<Machine> thisComputer() {
  return std::make_shared<BareComputer>();
}

}  // namespace halvarin::platform
