#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "database/packer/TableFile.h"

// The reviewable sensor tables of database/data, checked and resolved to what each model has. The
// format is described in database/data/README.md.

namespace halvarin::packer {

/// A kind of part: what its readings are and which of them are sound.
struct Part {
  std::string kind;
  std::string unit;  // "" for none
  std::string low;   // decimal text; "" for none
  std::string high;  // decimal text; "" for none
  bool mains = false;
  TableRow row;
};

/// What a key means where `on` says.
struct Meaning {
  std::string on;
  std::string part;
  std::string description;
  TableRow row;
};

struct Model {
  std::string identifier;
  std::string name;
  std::string chip;
  std::string platform;
  std::string list;
  std::vector<TableRow> keys;  // one field each
};

/// One key of one model with everything settled.
struct Sensor {
  std::string key;
  std::string description;
  Part part;
};

/// The tables of one folder. Every check that needs one row is made when they are loaded, every
/// check over all rows by `resolveAll`.
class SensorTables {
 public:
  /// Throws TableError for the first row that is wrong.
  explicit SensorTables(const std::filesystem::path& folder);

  [[nodiscard]] const std::vector<Model>& models() const { return models_; }

  /// The sensors of every model, model by model in the order of `models()`. Throws TableError where
  /// a key has no meaning, an exception or a row is not used, or two sensors of a kind in a model
  /// carry one description.
  [[nodiscard]] std::vector<std::vector<Sensor>> resolveAll() const;

 private:
  struct Exception {
    std::string field;
    std::string value;
    TableRow row;
  };
  using ExceptionKey = std::pair<std::string, std::string>;  // model, key

  void loadParts(const std::filesystem::path& file);
  void loadMeanings(const std::filesystem::path& file);
  void loadModels(const std::filesystem::path& folder);
  void loadExceptions(const std::filesystem::path& file);
  [[nodiscard]] Sensor resolve(const Model& model, const TableRow& key) const;
  [[nodiscard]] const Meaning& meaningOf(const Model& model, const TableRow& key) const;
  [[nodiscard]] const Part& partNamed(const std::string& name, const TableRow& row) const;
  void checkUse(const std::vector<std::vector<Sensor>>& all) const;

  std::map<std::string, Part> parts_;
  std::map<std::string, std::vector<Meaning>> meanings_;  // by key
  std::vector<Model> models_;
  std::map<ExceptionKey, std::vector<Exception>> exceptions_;
};

}  // namespace halvarin::packer
