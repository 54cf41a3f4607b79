#include "platform/machine/UnchosenMachine.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "base/PrintableText.h"
#include "platform/machine/BareComputer.h"
#include "platform/machine/MachineSource.h"
#include "platform/machine/ThisComputer.h"

namespace halvarin::platform {

namespace {

constexpr const char* kVariable = "HALVARIN_MACHINE";

std::variant<std::shared_ptr<Machine>, std::string> machineOf(std::string_view value) {
  auto source = parseMachineSource(value, kVariable);
  if (auto* fault = std::get_if<std::string>(&source)) {
    return std::move(*fault);
  }
  auto opened = openMachine(std::get<MachineSource>(source));
  if (auto* fault = std::get_if<std::string>(&opened)) {
    return std::string(kVariable) + ": " + *fault;
  }
  return opened;
}

std::shared_ptr<Machine> namedMachine() {
  const char* value = std::getenv(kVariable);
  if (value == nullptr) {
    return thisComputer();
  }
  auto machine = machineOf(value);
  if (const auto* fault = std::get_if<std::string>(&machine)) {
    // A program that asked for a machine it cannot have gets none, least of all the computer's own.
    std::fputs(("halvarin_machine: " + printable(*fault) + "\n").c_str(), stderr);
    return std::make_shared<BareComputer>();
  }
  return std::get<std::shared_ptr<Machine>>(std::move(machine));
}

}  // namespace

std::shared_ptr<Machine> unchosenMachine() {
  static const auto* const machine = new std::shared_ptr<Machine>(namedMachine());
  return *machine;
}

}  // namespace halvarin::platform
