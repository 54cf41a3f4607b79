// The program on a computer that has, or is, the machine of the file that the environment names, or
// one that refuses to open its controller with the status that it names.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <variant>

#include "platform/machine/BareComputer.h"
#include "platform/machine/SimulatedMachine.h"
#include "tests/darwin/StandIn.h"

namespace halvarin::test {

namespace {

/// A controller that is there, and that this process may not open.
class Refusal : public platform::BareComputer {
 public:
  explicit Refusal(platform::MachineStatus status) : status_(status) {}
  [[nodiscard]] bool hasService(std::string_view serviceClass) override {
    return serviceClass == "AppleSMC";
  }
  [[nodiscard]] platform::MachineStatus open(std::uint32_t /*type*/,
                                             std::uint32_t& /*connection*/) override {
    return status_;
  }

 private:
  const platform::MachineStatus status_;
};

std::shared_ptr<platform::Machine> newMachine() {
  if (const char* const status = std::getenv("HALVARIN_STAND_IN_REFUSAL")) {
    return std::make_shared<Refusal>(
        static_cast<platform::MachineStatus>(std::stoul(status, nullptr, 16)));
  }
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
