#include "platform/machine/CurrentMachine.h"

#include <utility>

#include "base/AtomicProperty.h"
#include "platform/machine/BareComputer.h"
#include "platform/machine/HandleLedger.h"

namespace halvarin::platform {

namespace {

using Slot = AtomicProperty<std::shared_ptr<Machine>>;

Slot& slot() {
  static auto* const current = new Slot(std::make_shared<BareComputer>());
  return *current;
}

}  // namespace

void setMachine(std::shared_ptr<Machine> machine) {
  slot().set(machine ? std::move(machine) : std::make_shared<BareComputer>());
}

std::shared_ptr<Machine> currentMachine() {
  return slot().get();
}

HandleCounts handleCounts() {
  return handleLedger().counts();
}

}  // namespace halvarin::platform
