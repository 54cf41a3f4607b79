#include "database/packer/DatabaseValue.h"

#include "base/Dictionary.h"
#include "database/SensorDatabase.h"
#include "database/packer/SensorResolver.h"

namespace halvarin::packer {

namespace {

void setText(Dictionary& dictionary, std::string_view name, const std::string& text) {
  if (!text.empty()) {
    dictionary.set(name, text);
  }
}

DictionaryRef descriptorOf(const Sensor& sensor) {
  auto descriptor = Dictionary::make();
  setText(*descriptor, database::kDescription, sensor.description);
  setText(*descriptor, database::kUnit, sensor.part.unit);
  setText(*descriptor, database::kLowLimit, sensor.part.low);
  setText(*descriptor, database::kHighLimit, sensor.part.high);
  setText(*descriptor, database::kType, sensor.part.kind);
  if (sensor.part.mains) {
    descriptor->set(database::kACqualified, true);
  }
  return descriptor;
}

DictionaryRef entryOf(const Model& model, const std::vector<Sensor>& sensors) {
  auto table = Dictionary::make();
  for (const Sensor& sensor : sensors) {
    table->set(sensor.key, descriptorOf(sensor));
  }
  auto entry = Dictionary::make();
  setText(*entry, database::kName, model.name);
  setText(*entry, database::kChip, model.chip);
  setText(*entry, database::kList, model.list);
  setText(*entry, database::kRelative, model.relative.model);
  entry->set(database::kSensors, table);
  return entry;
}

}  // namespace

Value databaseFrom(const SensorTables& tables) {
  auto database = Dictionary::make();
  const auto sensors = resolveAll(tables);
  for (std::size_t i = 0; i < sensors.size(); ++i) {
    database->set(tables.models()[i].identifier, entryOf(tables.models()[i], sensors[i]));
  }
  return database;
}

}  // namespace halvarin::packer
