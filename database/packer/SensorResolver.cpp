#include "database/packer/SensorResolver.h"

#include <algorithm>
#include <set>
#include <utility>

#include "base/LikePattern.h"

namespace halvarin::packer {

namespace {

/// What the meanings of a chip's whole generation are filed under: "M1" for "M1 Ultra", "Haswell"
/// for "Core i5 (Haswell)".
std::string generationOf(const Model& model) {
  if (model.platform == "silicon") {
    return model.chip.substr(0, model.chip.find(' '));
  }
  const std::size_t open = model.chip.rfind('(');
  const std::size_t close = model.chip.rfind(')');
  return open == std::string::npos || close == std::string::npos || close < open
             ? ""
             : model.chip.substr(open + 1, close - open - 1);
}

/// How exactly `on` names a model: 0 not at all, then every machine, its platform, the generation
/// of its chip, its chip.
int fit(const std::string& on, const Model& model) {
  if (on == model.chip) {
    return 4;
  }
  if (on == generationOf(model)) {
    return 3;
  }
  if (on == model.platform) {
    return 2;
  }
  return on == "*" ? 1 : 0;
}

class Resolver {
 public:
  explicit Resolver(const SensorTables& tables) : tables_(tables) {}

  std::vector<Sensor> sensorsOf(const Model& model);
  /// Throws for the first row that settled nothing.
  void checkUse() const;

 private:
  std::vector<TableRow> keysOf(const Model& model);
  Sensor resolve(const Model& model, const TableRow& key);
  const Meaning& meaningOf(const Model& model, const TableRow& key);
  const Exception* exceptionOf(const Model& model, const std::string& key);

  const SensorTables& tables_;
  std::set<const Meaning*> usedMeanings_;
  std::set<std::string> usedParts_;
  std::set<std::pair<std::string, std::string>> usedExceptions_;  // model, key
};

/// Takes away what the key forms, or else the parts, of `without` name; every word must take
/// something.
template <typename Elements, typename IsNamed>
void takeAway(Elements& elements, const Model& model, bool keyForms, const IsNamed& isNamed) {
  for (const std::string& word : model.relative.without) {
    if (isKeyForm(word) != keyForms) {
      continue;
    }
    const auto kept = std::remove_if(elements.begin(), elements.end(),
                                     [&](const auto& each) { return isNamed(each, word); });
    if (kept == elements.end()) {
      model.relative.row.fail("\"" + word + "\" takes nothing away from the sensors of " +
                              model.relative.model);
    }
    elements.erase(kept, elements.end());
  }
}

std::vector<TableRow> Resolver::keysOf(const Model& model) {
  if (model.relative.model.empty()) {
    return model.keys;
  }
  std::vector<TableRow> keys = tables_.model(model.relative.model)->keys;
  takeAway(keys, model, true, [](const TableRow& key, const std::string& form) {
    return matchesLike(key.fields[0], form);
  });
  return keys;
}

std::vector<Sensor> Resolver::sensorsOf(const Model& model) {
  const std::vector<TableRow> keys = keysOf(model);
  std::vector<Sensor> sensors;
  sensors.reserve(keys.size());
  std::set<std::pair<std::string, std::string>> descriptions;
  for (const TableRow& key : keys) {
    sensors.push_back(resolve(model, key));
  }
  takeAway(sensors, model, false, [](const Sensor& sensor, const std::string& part) {
    return sensor.part.row.fields[0] == part;
  });
  for (const Sensor& sensor : sensors) {
    if (!descriptions.emplace(sensor.part.kind, sensor.description).second) {
      const auto key = std::find_if(keys.begin(), keys.end(), [&](const TableRow& each) {
        return each.fields[0] == sensor.key;
      });
      key->fail("two sensors of " + model.identifier + " are called \"" + sensor.description +
                "\"");
    }
  }
  return sensors;
}

Sensor Resolver::resolve(const Model& model, const TableRow& key) {
  const Meaning& meaning = meaningOf(model, key);
  Sensor sensor{key.fields[0], meaning.description, tables_.part(meaning.part, meaning.row)};
  usedParts_.insert(meaning.part);
  if (const Exception* exception = exceptionOf(model, sensor.key)) {
    if (!exception->part.empty()) {
      sensor.part = tables_.part(exception->part, exception->row);
      usedParts_.insert(exception->part);
    }
    if (!exception->description.empty()) {
      sensor.description = exception->description;
    }
  }
  return sensor;
}

const Meaning& Resolver::meaningOf(const Model& model, const TableRow& key) {
  const auto meanings = tables_.meanings().find(key.fields[0]);
  const Meaning* best = nullptr;
  if (meanings != tables_.meanings().end()) {
    for (const Meaning& each : meanings->second) {
      if (fit(each.on, model) > (best == nullptr ? 0 : fit(best->on, model))) {
        best = &each;
      }
    }
  }
  if (best == nullptr) {
    key.fail("no sensor row says what " + key.fields[0] + " means on " + model.identifier);
  }
  usedMeanings_.insert(best);
  return *best;
}

const Exception* Resolver::exceptionOf(const Model& model, const std::string& key) {
  for (const std::string& identifier : {model.identifier, model.relative.model}) {
    const auto found = tables_.exceptions().find({identifier, key});
    if (found != tables_.exceptions().end()) {
      usedExceptions_.insert(found->first);
      return &found->second;
    }
  }
  return nullptr;
}

void Resolver::checkUse() const {
  for (const auto& [place, exception] : tables_.exceptions()) {
    if (!usedExceptions_.contains(place)) {
      exception.row.fail(place.first + " has no sensor " + place.second +
                         ": the exception is not used there");
    }
  }
  for (const auto& [key, rows] : tables_.meanings()) {
    for (const Meaning& each : rows) {
      if (!usedMeanings_.contains(&each)) {
        each.row.fail("no model uses this row for " + key);
      }
    }
  }
  for (const auto& [name, part] : tables_.parts()) {
    if (!usedParts_.contains(name)) {
      part.row.fail("no sensor is of the part \"" + name + "\"");
    }
  }
}

}  // namespace

std::vector<std::vector<Sensor>> resolveAll(const SensorTables& tables) {
  Resolver resolver(tables);
  std::vector<std::vector<Sensor>> all;
  for (const Model& model : tables.models()) {
    all.push_back(resolver.sensorsOf(model));
  }
  resolver.checkUse();
  return all;
}

}  // namespace halvarin::packer
