#include "database/packer/SensorTables.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <utility>

#include "base/NumberText.h"
#include "database/packer/LimitText.h"

namespace halvarin::packer {

namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 9> kKinds{"Temperature",  "Voltage",     "Current",
                                                 "Power",        "Photometer",  "Accelerometer",
                                                 "Magnetometer", "Calibration", "Fan"};
constexpr std::array<std::string_view, 2> kPlatforms{"intel", "silicon"};
constexpr std::array<std::string_view, 5> kLists{"dump", "firmware", "report", "listed", "family"};
constexpr std::array<std::string_view, 5> kSensorFiles{"temperature.tsv", "voltage.tsv",
                                                       "current.tsv", "power.tsv", "other.tsv"};
constexpr std::size_t kKeyCharacters = 4;

template <typename Words>
void checkWord(const TableRow& row, const Words& words, const std::string& word,
               const std::string& column) {
  if (std::find(words.begin(), words.end(), word) == words.end()) {
    std::string known;
    for (const std::string_view each : words) {
      known += (known.empty() ? "" : ", ") + std::string(each);
    }
    row.fail("\"" + word + "\" is no " + column + "; known are: " + known);
  }
}

void checkKey(const TableRow& row, const std::string& key) {
  const bool printable =
      std::all_of(key.begin(), key.end(), [](char c) { return c > ' ' && c < '\x7F'; });
  if (key.size() != kKeyCharacters || !printable) {
    row.fail("\"" + key + "\" is no key of four characters");
  }
}

std::string noneAsEmpty(const std::string& field) {
  return field == "-" ? "" : field;
}

bool truthOf(const TableRow& row, const std::string& word) {
  checkWord(row, std::array<std::string_view, 2>{"yes", "no"}, word, "answer");
  return word == "yes";
}

/// How exactly `on` names a model: 0 not at all, then every machine, its platform, its chip.
int fit(const std::string& on, const Model& model) {
  if (on == model.chip) {
    return 3;
  }
  if (on == model.platform) {
    return 2;
  }
  return on == "*" ? 1 : 0;
}

}  // namespace

SensorTables::SensorTables(const fs::path& folder) {
  loadParts(folder / "parts.tsv");
  for (const std::string_view file : kSensorFiles) {
    loadMeanings(folder / "sensors" / file);
  }
  loadModels(folder);
  loadExceptions(folder / "exceptions.tsv");
}

void SensorTables::loadParts(const fs::path& file) {
  for (const TableRow& row :
       readTable(file, {"part", "kind", "unit", "low", "high", "mains", "reason"})) {
    const auto& f = row.fields;
    checkWord(row, kKinds, f[1], "kind");
    Part part{f[1], noneAsEmpty(f[2]), noneAsEmpty(f[3]), noneAsEmpty(f[4]), truthOf(row, f[5]),
              row};
    checkLimits(row, part.low, part.high);
    if (!parts_.emplace(f[0], std::move(part)).second) {
      row.fail("the part \"" + f[0] + "\" is in the table twice");
    }
  }
}

void SensorTables::loadMeanings(const fs::path& file) {
  for (const TableRow& row : readTable(file, {"key", "on", "part", "description"})) {
    const auto& f = row.fields;
    checkKey(row, f[0]);
    static_cast<void>(partNamed(f[2], row));
    if (f[3] == "-") {
      row.fail("a sensor needs a description");
    }
    auto& meanings = meanings_[f[0]];
    const bool known = std::any_of(meanings.begin(), meanings.end(),
                                   [&](const Meaning& each) { return each.on == f[1]; });
    if (known) {
      row.fail("the key " + f[0] + " on \"" + f[1] + "\" is in the tables twice");
    }
    meanings.push_back({f[1], f[2], f[3], row});
  }
}

void SensorTables::loadModels(const fs::path& folder) {
  std::set<std::string> files;
  for (const TableRow& row :
       readTable(folder / "models.tsv", {"model", "name", "chip", "platform", "list"})) {
    const auto& f = row.fields;
    checkWord(row, kPlatforms, f[3], "platform");
    checkWord(row, kLists, f[4], "list");
    if (!files.insert(f[0] + ".txt").second) {
      row.fail("the model " + f[0] + " is in the table twice");
    }
    Model model{f[0], f[1], f[2], f[3], f[4], readWords(folder / "models" / (f[0] + ".txt"))};
    std::set<std::string> seen;
    for (const TableRow& key : model.keys) {
      checkKey(key, key.fields[0]);
      if (!seen.insert(key.fields[0]).second) {
        key.fail("the key " + key.fields[0] + " is in the list twice");
      }
    }
    models_.push_back(std::move(model));
  }
  std::error_code missing;
  for (const auto& entry : fs::directory_iterator(folder / "models", missing)) {
    if (!files.contains(entry.path().filename().string())) {
      throw TableError(entry.path(), 0, "no row of models.tsv names this file");
    }
  }
  if (missing) {
    throw TableError(folder / "models", 0, "the folder cannot be read: " + missing.message());
  }
}

void SensorTables::loadExceptions(const fs::path& file) {
  for (const TableRow& row : readTable(file, {"model", "key", "field", "value", "reason"})) {
    const auto& f = row.fields;
    checkWord(row, std::array<std::string_view, 5>{"description", "part", "low", "high", "mains"},
              f[2], "field");
    const auto model = std::find_if(models_.begin(), models_.end(),
                                    [&](const Model& each) { return each.identifier == f[0]; });
    const bool hasKey = model != models_.end() &&
                        std::any_of(model->keys.begin(), model->keys.end(),
                                    [&](const TableRow& k) { return k.fields[0] == f[1]; });
    if (!hasKey) {
      row.fail("no model " + f[0] + " with a key " + f[1] + ": the exception is not used");
    }
    auto& exceptions = exceptions_[{f[0], f[1]}];
    if (f[2] == "description" && f[3] == "-") {
      row.fail("a sensor needs a description");
    }
    if (std::any_of(exceptions.begin(), exceptions.end(),
                    [&](const Exception& each) { return each.field == f[2]; })) {
      row.fail("this exception is in the table twice");
    }
    exceptions.push_back({f[2], f[3], row});
  }
}

const Part& SensorTables::partNamed(const std::string& name, const TableRow& row) const {
  const auto part = parts_.find(name);
  if (part == parts_.end()) {
    row.fail("parts.tsv has no part \"" + name + "\"");
  }
  return part->second;
}

const Meaning& SensorTables::meaningOf(const Model& model, const TableRow& key) const {
  const auto meanings = meanings_.find(key.fields[0]);
  const Meaning* best = nullptr;
  if (meanings != meanings_.end()) {
    for (const Meaning& each : meanings->second) {
      if (fit(each.on, model) > (best == nullptr ? 0 : fit(best->on, model))) {
        best = &each;
      }
    }
  }
  if (best == nullptr) {
    key.fail("no sensor row says what " + key.fields[0] + " means on " + model.identifier);
  }
  return *best;
}

Sensor SensorTables::resolve(const Model& model, const TableRow& key) const {
  const Meaning& meaning = meaningOf(model, key);
  Sensor sensor{key.fields[0], meaning.description, partNamed(meaning.part, meaning.row)};
  const auto exceptions = exceptions_.find({model.identifier, sensor.key});
  if (exceptions == exceptions_.end()) {
    return sensor;
  }
  // A part brings limits of its own, so it comes before those that replace single ones.
  for (const Exception& each : exceptions->second) {
    if (each.field == "part") {
      sensor.part = partNamed(each.value, each.row);
    }
  }
  for (const Exception& each : exceptions->second) {
    if (each.field == "description") {
      sensor.description = each.value;
    } else if (each.field == "low") {
      sensor.part.low = noneAsEmpty(each.value);
    } else if (each.field == "high") {
      sensor.part.high = noneAsEmpty(each.value);
    } else if (each.field == "mains") {
      sensor.part.mains = truthOf(each.row, each.value);
    }
  }
  checkLimits(exceptions->second.front().row, sensor.part.low, sensor.part.high);
  return sensor;
}

std::vector<std::vector<Sensor>> SensorTables::resolveAll() const {
  std::vector<std::vector<Sensor>> all;
  for (const Model& model : models_) {
    std::set<std::pair<std::string, std::string>> names;
    std::vector<Sensor> sensors;
    for (const TableRow& key : model.keys) {
      sensors.push_back(resolve(model, key));
      if (!names.emplace(sensors.back().part.kind, sensors.back().description).second) {
        key.fail("two sensors of " + model.identifier + " are called \"" +
                 sensors.back().description + "\"");
      }
    }
    all.push_back(std::move(sensors));
  }
  checkUse(all);
  return all;
}

void SensorTables::checkUse(const std::vector<std::vector<Sensor>>& all) const {
  std::set<const Meaning*> meanings;
  std::set<std::string> parts;
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (const TableRow& key : models_[i].keys) {
      const Meaning& meaning = meaningOf(models_[i], key);
      meanings.insert(&meaning);
      parts.insert(meaning.part);
    }
  }
  for (const auto& [key, exceptions] : exceptions_) {
    for (const Exception& each : exceptions) {
      parts.insert(each.field == "part" ? each.value : "");
    }
  }
  for (const auto& [key, rows] : meanings_) {
    for (const Meaning& each : rows) {
      if (!meanings.contains(&each)) {
        each.row.fail("no model uses this row for " + key);
      }
    }
  }
  for (const auto& [name, part] : parts_) {
    if (!parts.contains(name)) {
      part.row.fail("no sensor is of the part \"" + name + "\"");
    }
  }
}

}  // namespace halvarin::packer
