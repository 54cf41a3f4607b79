#include "host/ModelsCommand.h"

#include <iostream>
#include <string>

#include "database/SensorDatabase.h"
#include "host/Facade.h"
#include "host/RecordJson.h"
#include "host/Table.h"
#include "host/Terminal.h"

namespace halvarin::host {

namespace {

struct Model {
  std::string identifier;
  std::string name;
  std::string chip;
  std::size_t sensors = 0;
};

Model modelFrom(const Dictionary::Entry& entry) {
  const DictionaryRef model = entry.second.dictionary();
  const DictionaryRef sensors = model->get(database::kSensors).dictionary();
  return {entry.first.string(), model->get(database::kName).text().string(),
          model->get(database::kChip).text().string(), sensors ? sensors->count() : 0};
}

}  // namespace

Exit runModels(const Options& options) {
  const auto facade = openDatabase();
  Table table({{"Model"}, {"Name"}, {"Chip"}, {"Sensors", Align::right}});
  Json list = Json::array();
  for (const Dictionary::Entry& entry : facade->mainSensorDict()->entries()) {
    const Model model = modelFrom(entry);
    table.addRow({{model.identifier}, {model.name}, {model.chip}, {std::to_string(model.sensors)}});
    list.push_back({{"model", model.identifier},
                    {"name", model.name},
                    {"chip", model.chip},
                    {"sensors", model.sensors}});
  }
  if (options.json) {
    printJson(list);
  } else {
    table.print(std::cout, mayColour());
  }
  return Exit::fine;
}

}  // namespace halvarin::host
