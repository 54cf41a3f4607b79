#include "database/packer/SensorTables.h"

#include <algorithm>
#include <array>
#include <set>
#include <sstream>
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
constexpr std::string_view kShared = "family";  // the list of a model that has none of its own
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

std::vector<std::string> wordsOf(const TableRow& row, std::size_t field) {
  std::vector<std::string> words;
  std::set<std::string> seen;
  std::istringstream stream(noneAsEmpty(row.fields[field]));
  for (std::string word; stream >> word; words.push_back(word)) {
    if (!seen.insert(word).second) {
      row.fail("\"" + word + "\" is named twice in this row");
    }
  }
  return words;
}

std::vector<fs::path> filesIn(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code missing;
  for (const auto& entry : fs::directory_iterator(folder, missing)) {
    files.push_back(entry.path());
  }
  if (missing) {
    throw TableError(folder, 0, "the folder cannot be read: " + missing.message());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

bool isKeyForm(const std::string& word) {
  return word.size() == kKeyCharacters;
}

SensorTables::SensorTables(const fs::path& folder) {
  loadParts(folder / "parts.tsv");
  loadAllMeanings(folder / "sensors");
  loadModels(folder);
  loadFamilies(folder / "families.tsv");
  loadExceptions(folder / "exceptions.tsv");
}

const Model* SensorTables::model(const std::string& identifier) const {
  const auto found = std::find_if(models_.begin(), models_.end(),
                                  [&](const Model& each) { return each.identifier == identifier; });
  return found == models_.end() ? nullptr : &*found;
}

const Part& SensorTables::part(const std::string& name, const TableRow& row) const {
  const auto found = parts_.find(name);
  if (found == parts_.end()) {
    row.fail("parts.tsv has no part \"" + name + "\"");
  }
  return found->second;
}

void SensorTables::loadParts(const fs::path& file) {
  for (const TableRow& row :
       readTable(file, {"part", "kind", "unit", "low", "high", "mains", "reason"})) {
    const auto& f = row.fields;
    checkWord(row, kKinds, f[1], "kind");
    if (isKeyForm(f[0])) {
      row.fail("a part's name must not have four characters, as keys have");
    }
    Part part{f[1], noneAsEmpty(f[2]), noneAsEmpty(f[3]), noneAsEmpty(f[4]), truthOf(row, f[5]),
              row};
    checkLimits(row, part.low, part.high);
    if (!parts_.emplace(f[0], std::move(part)).second) {
      row.fail("the part \"" + f[0] + "\" is in the table twice");
    }
  }
}

void SensorTables::loadAllMeanings(const fs::path& folder) {
  for (const fs::path& file : filesIn(folder)) {
    loadMeanings(file);
  }
}

void SensorTables::loadMeanings(const fs::path& file) {
  for (const TableRow& row : readTable(file, {"key", "on", "part", "description"})) {
    const auto& f = row.fields;
    checkKey(row, f[0]);
    static_cast<void>(part(f[2], row));
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
    if (model(f[0]) != nullptr) {
      row.fail("the model " + f[0] + " is in the table twice");
    }
    Model model{f[0], f[1], f[2], f[3], f[4], {}, {}, row};
    if (model.list != kShared) {
      files.insert(model.identifier + ".txt");
      loadKeys(model, folder / "models");
    }
    models_.push_back(std::move(model));
  }
  for (const fs::path& file : filesIn(folder / "models")) {
    if (!files.contains(file.filename().string())) {
      throw TableError(file, 0, "no row of models.tsv with a list of its own names this file");
    }
  }
}

void SensorTables::loadKeys(Model& model, const fs::path& folder) const {
  model.keys = readWords(folder / (model.identifier + ".txt"));
  std::set<std::string> seen;
  for (const TableRow& key : model.keys) {
    checkKey(key, key.fields[0]);
    if (!seen.insert(key.fields[0]).second) {
      key.fail("the key " + key.fields[0] + " is in the list twice");
    }
  }
}

void SensorTables::loadFamilies(const fs::path& file) {
  for (const TableRow& row : readTable(file, {"model", "like", "without", "reason"})) {
    const auto found = std::find_if(models_.begin(), models_.end(), [&](const Model& each) {
      return each.identifier == row.fields[0];
    });
    if (found == models_.end() || found->list != kShared) {
      row.fail("models.tsv has no model " + row.fields[0] + " whose list is \"family\"");
    }
    if (!found->relative.model.empty()) {
      row.fail("the model " + row.fields[0] + " is in the table twice");
    }
    found->relative = relativeFrom(row, *found);
  }
  for (const Model& each : models_) {
    if (each.list == kShared && each.relative.model.empty()) {
      each.row.fail("families.tsv does not say whose list " + each.identifier + " shares");
    }
  }
}

Relative SensorTables::relativeFrom(const TableRow& row, const Model& model) const {
  const Model* like = this->model(row.fields[1]);
  if (like == nullptr || like->list == kShared || like->platform != model.platform) {
    row.fail("\"" + row.fields[1] + "\" is no " + model.platform + " model with a list of its own");
  }
  Relative relative{like->identifier, wordsOf(row, 2), row};
  for (const std::string& word : relative.without) {
    if (!isKeyForm(word)) {
      static_cast<void>(part(word, row));
    }
  }
  return relative;
}

void SensorTables::loadExceptions(const fs::path& file) {
  for (const TableRow& row : readTable(file, {"key", "models", "part", "description", "reason"})) {
    const auto& f = row.fields;
    const Exception exception{noneAsEmpty(f[2]), noneAsEmpty(f[3]), row};
    if (exception.part.empty() && exception.description.empty()) {
      row.fail("the exception changes neither the part nor the description");
    }
    if (!exception.part.empty()) {
      static_cast<void>(part(exception.part, row));
    }
    for (const std::string& identifier : wordsOf(row, 1)) {
      if (model(identifier) == nullptr) {
        row.fail("models.tsv has no model " + identifier);
      }
      if (!exceptions_.emplace(std::pair(identifier, f[0]), exception).second) {
        row.fail("the key " + f[0] + " of " + identifier + " is in the table twice");
      }
    }
  }
}

}  // namespace halvarin::packer
