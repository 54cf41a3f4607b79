#include "bench/LargeDatabase.h"

#include <string>

#include "base/Dictionary.h"
#include "database/QXEDManager.h"
#include "platform/PropertyList.h"

namespace halvarin::bench {

namespace {

constexpr int kModels = 176;
constexpr int kSensorsPerModel = 330;

DictionaryRef descriptor(int model, int sensor) {
  auto entry = Dictionary::make();
  entry->set("description", "Sensor " + std::to_string(sensor) + " of " + std::to_string(model));
  entry->set("unit", "oC");
  entry->set("low limit", "0");
  entry->set("high limit", std::to_string(80 + sensor % 40));
  entry->set("type", "Temperature");
  return entry;
}

Data makePropertyList() {
  auto database = Dictionary::make();
  for (int model = 0; model < kModels; ++model) {
    auto sensors = Dictionary::make();
    for (int sensor = 0; sensor < kSensorsPerModel; ++sensor) {
      sensors->set("T" + std::to_string(1000 + sensor).substr(1), descriptor(model, sensor));
    }
    auto entry = Dictionary::make();
    entry->set("Sensors", sensors);
    database->set("Model" + std::to_string(model) + ",1", entry);
  }
  return *platform::writePropertyList(database, platform::PropertyListFormat::binary);
}

Data makeContainer() {
  const QXEDManager manager;
  const Data salt = manager.saltBlockData();
  const auto inner = manager.enData(largePropertyList(),
                                    manager.skFromData(manager.secKeyDataFromSaltBlockData(salt)));
  return *manager.enData(Data(std::string(salt.view()) + std::string(inner->view())));
}

}  // namespace

const Data& largePropertyList() {
  static const Data list = makePropertyList();
  return list;
}

const Data& largeContainer() {
  static const Data container = makeContainer();
  return container;
}

}  // namespace halvarin::bench
