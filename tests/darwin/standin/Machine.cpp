// The machine that the bodies in this library ask, and the clock that they wait by: a time that has
// reached the system is the computer's own.

#include "platform/Clock.h"
#include "platform/machine/CurrentMachine.h"
#include "tests/darwin/StandIn.h"

namespace halvarin::platform {

std::shared_ptr<Machine> currentMachine() {
  return test::machineBehindTheSystem();
}

std::shared_ptr<Clock> currentClock() {
  static const auto* const clock = new std::shared_ptr<Clock>(std::make_shared<ScaledClock>());
  return *clock;
}

}  // namespace halvarin::platform
