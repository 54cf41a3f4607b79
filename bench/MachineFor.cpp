#include "bench/MachineFor.h"

#include <memory>
#include <string>

#include "platform/machine/BuiltInMachine.h"
#include "platform/machine/CurrentMachine.h"
#include "platform/machine/SimulatedMachine.h"

namespace halvarin::bench {

platform::RecordedMachine laptopWithKeys(std::size_t keys) {
  platform::RecordedMachine machine = platform::builtInLaptop();
  for (std::size_t i = 0; machine.keys.size() < keys; ++i) {
    platform::RecordedKey key;
    key.code = platform::fourBytes("z" + std::to_string(1000 + i).substr(1));
    key.type = platform::fourBytes("ui16");
    key.sizeBytes = 2;
    key.bytes = {0, 7};
    machine.keys.push_back(key);
  }
  machine.keys.front().bytes = {0, 0, static_cast<std::uint8_t>(machine.keys.size() >> 8U),
                                static_cast<std::uint8_t>(machine.keys.size())};
  return machine;
}

void installLaptop() {
  static const bool installed = [] {
    platform::setMachine(std::make_shared<platform::SimulatedMachine>(laptopWithKeys(kLaptopKeys)));
    return true;
  }();
  static_cast<void>(installed);
}

}  // namespace halvarin::bench
