// The program on a computer that has, or is, the machine of the file that the environment names.

#include <cstdlib>
#include <variant>

#include "platform/machine/BareComputer.h"
#include "platform/machine/SimulatedMachine.h"
#include "tests/darwin/StandIn.h"

namespace halvarin::test {

namespace {

std::shared_ptr<platform::Machine> newMachine() {
  const char* const path = std::getenv("HALVARIN_STAND_IN_MACHINE");
  auto read = platform::readMachineFile(path != nullptr ? path : "");
  auto* const recorded = std::get_if<platform::RecordedMachine>(&read);
  if (recorded == nullptr) {
    return std::make_shared<platform::BareComputer>();
  }
  return std::make_shared<platform::SimulatedMachine>(std::move(*recorded), platform::Simulation());
}

}  // namespace

std::shared_ptr<platform::Machine> machineBehindTheSystem() {
  static const auto* const machine = new std::shared_ptr<platform::Machine>(newMachine());
  return *machine;
}

}  // namespace halvarin::test
