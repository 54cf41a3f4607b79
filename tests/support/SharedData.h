#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/generated/TestPaths.h"

// Recorded machines and facts that lie beside the checkout and are not part of it.

namespace halvarin::test {

inline std::filesystem::path sharedData() {
  return HALVARIN_SHARED_DATA;
}

/// The models that have a recorded machine, sorted; none without the data.
inline std::vector<std::string> recordedModels() {
  std::vector<std::string> models;
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(sharedData() / "dumps", missing)) {
    if (entry.path().extension() == ".txt") {
      models.push_back(entry.path().stem().string());
    }
  }
  std::sort(models.begin(), models.end());
  return models;
}

inline std::string dumpPath(const std::string& model) {
  return (sharedData() / "dumps" / (model + ".txt")).string();
}

inline std::string fileText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The keys of a recording in their order, taken from its text without the library's reader.
inline std::vector<std::string> recordedKeys(const std::string& model) {
  std::vector<std::string> keys;
  std::istringstream text(fileText(dumpPath(model)));
  for (std::string line; std::getline(text, line);) {
    if (line.rfind('[', 0) == 0) {
      keys.push_back(line.substr(1, 4));
    }
  }
  return keys;
}

/// The rows of a tab-separated table, by column name.
inline std::vector<std::map<std::string, std::string>> tableRows(
    const std::filesystem::path& path) {
  const auto split = [](const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');) {
      fields.push_back(field);
    }
    return fields;
  };
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  const auto columns = split(line);
  std::vector<std::map<std::string, std::string>> rows;
  while (std::getline(file, line)) {
    const auto fields = split(line);
    auto& row = rows.emplace_back();
    for (std::size_t i = 0; i < columns.size() && i < fields.size(); ++i) {
      row[columns[i]] = fields[i];
    }
  }
  return rows;
}

}  // namespace halvarin::test
