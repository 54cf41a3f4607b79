// Tests that choose a machine meet it behind the stand-in's calls.

#include "platform/machine/CurrentMachine.h"
#include "tests/darwin/StandIn.h"

namespace halvarin {

bool platform::machineMayBeChosen() {
  return true;
}

std::shared_ptr<platform::Machine> test::machineBehindTheSystem() {
  return platform::currentMachine();
}

}  // namespace halvarin
