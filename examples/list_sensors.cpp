// A host in a few lines: lists the temperatures of the simulated laptop with their verdicts.
// After `cmake --install build/release --prefix PREFIX`:
//   g++ -std=c++20 -I PREFIX/include/halvarin examples/list_sensors.cpp
//       -L PREFIX/lib -Wl,-rpath,PREFIX/lib -lhalvarin

#include <iostream>
#include <memory>

#include "base/Array.h"
#include "platform/machine/BuiltInMachine.h"
#include "platform/machine/CurrentMachine.h"
#include "platform/machine/SimulatedMachine.h"
#include "sensors/QXHalvarin.h"

int main() {
  using namespace halvarin;

  // On a Mac this line is left out: the library then talks to the machine itself.
  platform::setMachine(std::make_shared<platform::SimulatedMachine>(platform::builtInLaptop()));

  const auto facade = QXHalvarin::sharedHalvarin();
  if (!facade) {
    std::cerr << "the sensor database cannot be read\n";
    return 1;
  }
  const ArrayRef temperatures = facade->readSensorsOfType("temperature", true);
  for (const Value& each : temperatures->elements()) {
    const DictionaryRef record = each.dictionary();
    std::cout << record->get("key").textView() << "  " << record->get("value").textView() << " "
              << record->get("unit").textView() << "  " << record->get("description").textView()
              << (record->get("isInsideLimits").boolValue() ? "" : "  OUTSIDE ITS LIMITS") << "\n";
  }
  return 0;
}
