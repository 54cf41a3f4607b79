#include "host/ModelsCommand.h"

#include <iostream>
#include <string>
#include <string_view>
#include <utility>

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
  std::string list;
  std::string relative;
  std::size_t sensors = 0;
};

Model modelFrom(const Dictionary::Entry& entry) {
  const DictionaryRef model = entry.second.dictionary();
  const auto text = [&](std::string_view name) { return model->get(name).text().string(); };
  const DictionaryRef sensors = model->get(database::kSensors).dictionary();
  return {entry.first.string(),  text(database::kName),     text(database::kChip),
          text(database::kList), text(database::kRelative), sensors ? sensors->count() : 0};
}

/// How the keys of a model are known, for people.
std::string sourceOf(const Model& model) {
  if (!model.relative.empty()) {
    return "taken from " + model.relative;
  }
  for (const auto& [list, words] : {std::pair{"dump", "read from a machine"},
                                    std::pair{"firmware", "its controller's firmware"},
                                    std::pair{"report", "a published report"},
                                    std::pair{"listed", "a published list of sensors"}}) {
    if (model.list == list) {
      return words;
    }
  }
  return model.list;
}

Json jsonOf(const Model& model) {
  Json json{{"model", model.identifier},
            {"name", model.name},
            {"chip", model.chip},
            {"sensors", model.sensors},
            {"list", model.list}};
  if (!model.relative.empty()) {
    json["relative"] = model.relative;
  }
  return json;
}

}  // namespace

Exit runModels(const Options& options) {
  const auto facade = openDatabase();
  Table table({{"Model"}, {"Name"}, {"Chip"}, {"Sensors", Align::right}, {"Keys known from"}});
  Json list = Json::array();
  for (const Dictionary::Entry& entry : facade->mainSensorDict()->entries()) {
    const Model model = modelFrom(entry);
    table.addRow({{model.identifier},
                  {model.name},
                  {model.chip},
                  {std::to_string(model.sensors)},
                  {sourceOf(model)}});
    list.push_back(jsonOf(model));
  }
  if (options.json) {
    printJson(list);
  } else {
    table.print(std::cout, mayColour());
  }
  return Exit::fine;
}

}  // namespace halvarin::host
