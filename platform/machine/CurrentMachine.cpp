#include "platform/machine/CurrentMachine.h"

#include <utility>

#include "base/AtomicProperty.h"
#include "base/Exception.h"
#include "platform/machine/HandleLedger.h"
#include "platform/machine/UnchosenMachine.h"

namespace halvarin::platform {

namespace {

struct Current {
  std::shared_ptr<Machine> machine;  // null for the computer itself
  std::shared_ptr<Clock> clock;
};

// Kept, so that its time goes on from one choice to the next.
const std::shared_ptr<Clock>& computersClock() {
  static auto* const clock = new std::shared_ptr<Clock>(std::make_shared<ScaledClock>());
  return *clock;
}

Current choice(std::shared_ptr<Machine> machine, std::shared_ptr<Clock> clock) {
  if (!clock) {
    clock = computersClock();
  }
  return {std::move(machine), std::move(clock)};
}

// Never destroyed: work on other threads may outlive main.
AtomicProperty<Current>& slot() {
  static auto* const current = new AtomicProperty<Current>(choice(nullptr, nullptr));
  return *current;
}

}  // namespace

void setMachine(std::shared_ptr<Machine> machine, std::shared_ptr<Clock> clock) {
  if (machine && !machineMayBeChosen()) {
    throw Exception(Exception::kInvalidArgument,
                    "the platform's calls ask this computer and no other machine");
  }
  slot().set(choice(std::move(machine), std::move(clock)));
}

std::shared_ptr<Machine> currentMachine() {
  auto machine = slot().get().machine;
  return machine ? machine : unchosenMachine();
}

std::shared_ptr<Clock> currentClock() {
  return slot().get().clock;
}

HandleCounts handleCounts() {
  return handleLedger().counts();
}

}  // namespace halvarin::platform
