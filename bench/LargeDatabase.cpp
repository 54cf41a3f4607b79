#include "bench/LargeDatabase.h"

#include <string>

#include "base/Dictionary.h"
#include "database/QXEDManager.h"
#include "platform/PropertyList.h"

namespace halvarin::bench {

namespace {

// What gives a list of the largest size that a database of these machines has had.
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

Data makePropertyList(int models, int sensorsPerModel) {
  auto database = Dictionary::make();
  for (int model = 0; model < models; ++model) {
    auto sensors = Dictionary::make();
    for (int sensor = 0; sensor < sensorsPerModel; ++sensor) {
      sensors->set("T" + std::to_string(1000 + sensor).substr(1), descriptor(model, sensor));
    }
    auto entry = Dictionary::make();
    entry->set("Sensors", sensors);
    database->set("Model" + std::to_string(model) + ",1", entry);
  }
  return *platform::writePropertyList(database, platform::PropertyListFormat::binary);
}

Data makeContainer(const Data& list) {
  const QXEDManager manager;
  const Data salt = manager.saltBlockData();
  const auto inner =
      manager.enData(list, manager.skFromData(manager.secKeyDataFromSaltBlockData(salt)));
  return *manager.enData(Data(std::string(salt.view()) + std::string(inner->view())));
}

}  // namespace

const Data& largePropertyList() {
  static const Data list = makePropertyList(kModels, kSensorsPerModel);
  return list;
}

const Data& largeContainer() {
  static const Data container = makeContainer(largePropertyList());
  return container;
}

Data containerOfModels(int models) {
  constexpr int kUsualSensors = 130;
  return makeContainer(makePropertyList(models, kUsualSensors));
}

}  // namespace halvarin::bench
