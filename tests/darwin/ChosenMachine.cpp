// Tests that choose a machine meet it behind the stand-in's calls.

#include <atomic>

#include "platform/machine/CurrentMachine.h"
#include "tests/darwin/StandIn.h"

namespace halvarin {

namespace {

std::atomic<bool> choiceIsOpen{true};

}  // namespace

void test::closeMachineChoice() {
  choiceIsOpen = false;
}

bool platform::machineMayBeChosen() {
  return choiceIsOpen;
}

std::shared_ptr<platform::Machine> test::machineBehindTheSystem() {
  return platform::currentMachine();
}

}  // namespace halvarin
