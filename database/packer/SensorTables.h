#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "database/packer/TableFile.h"

// The reviewable sensor tables of database/data, each row checked by itself. The format is
// described in database/data/README.md; what the rows mean together is settled by SensorResolver.h.

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

/// What replaces a meaning on some models.
struct Exception {
  std::string part;         // "" leaves the part
  std::string description;  // "" leaves the description
  TableRow row;
};

/// Whose list a model without one shares.
struct Relative {
  std::string model;                 // "" for a model with a list of its own
  std::vector<std::string> without;  // parts, and key forms of four characters, that it lacks
  TableRow row;
};

struct Model {
  std::string identifier;
  std::string name;
  std::string chip;
  std::string platform;
  std::string list;
  std::vector<TableRow> keys;  // one field each; none for a model with a relative
  Relative relative;
  TableRow row;
};

/// The tables of one folder.
class SensorTables {
 public:
  /// Throws TableError for the first row that is wrong.
  explicit SensorTables(const std::filesystem::path& folder);

  [[nodiscard]] const std::vector<Model>& models() const { return models_; }
  [[nodiscard]] const std::map<std::string, Part>& parts() const { return parts_; }
  /// By key.
  [[nodiscard]] const std::map<std::string, std::vector<Meaning>>& meanings() const {
    return meanings_;
  }
  /// By model and key; the rows of a table that name several models are here once for each.
  [[nodiscard]] const std::map<std::pair<std::string, std::string>, Exception>& exceptions() const {
    return exceptions_;
  }

  /// nullptr for an unknown identifier.
  [[nodiscard]] const Model* model(const std::string& identifier) const;
  /// Throws the error of `row` for an unknown name.
  [[nodiscard]] const Part& part(const std::string& name, const TableRow& row) const;

 private:
  void loadParts(const std::filesystem::path& file);
  void loadAllMeanings(const std::filesystem::path& folder);
  void loadMeanings(const std::filesystem::path& file);
  void loadModels(const std::filesystem::path& folder);
  void loadKeys(Model& model, const std::filesystem::path& folder) const;
  void loadFamilies(const std::filesystem::path& file);
  [[nodiscard]] Relative relativeFrom(const TableRow& row, const Model& model) const;
  void loadExceptions(const std::filesystem::path& file);

  std::map<std::string, Part> parts_;
  std::map<std::string, std::vector<Meaning>> meanings_;
  std::vector<Model> models_;
  std::map<std::pair<std::string, std::string>, Exception> exceptions_;
};

/// Whether a word of `without` is a key form, which has four characters, and no part.
[[nodiscard]] bool isKeyForm(const std::string& word);

}  // namespace halvarin::packer
