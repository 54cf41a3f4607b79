#include "sensors/UpdateCycle.h"

#include <utility>
#include <vector>

#include "sensors/SensorUpdate.h"
#include "smc/KeyRecord.h"

namespace halvarin {

extern "C" {

const char* const kSensorUpdateNotify = "sensorUpdateNotification";

}  // extern "C"

bool isMainsPower(std::string_view powerSource) {
  return powerSource.find("AC") != std::string_view::npos;
}

ArrayRef withoutNegative(const Array& records) {
  std::vector<Value> kept;
  for (const Value& each : records.elements()) {
    const DictionaryRef record = each.dictionary();
    // Not-a-number is no reading below 0: a broken sensor must not vanish from the test.
    if (record && !(record->get(record::kValue).doubleValue() < 0)) {
      kept.push_back(each);
    }
  }
  return Array::make(std::move(kept));
}

DictionaryRef takeUpdatePass(const std::string& powerSource, const PassReaders& readers) {
  const bool onMains = isMainsPower(powerSource);
  const auto read = [&](std::string_view category) {
    const ArrayRef records = readers.category(category, onMains);
    return records ? records : Array::make();
  };
  auto pass = Dictionary::make();
  pass->set(update::kPowerSource, powerSource);
  // First: the fans read the temperatures too, as on battery, and the verdicts of the reading that
  // follows are those that count.
  pass->set(update::kFans, readers.fans());
  pass->set(update::kTemps, withoutNegative(*read("temperature")));
  for (const std::string_view category :
       {update::kVoltage, update::kCurrent, update::kPower, update::kLight}) {
    pass->set(category, read(category));
  }
  return pass;
}

}  // namespace halvarin
