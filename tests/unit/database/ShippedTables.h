#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "database/packer/SensorResolver.h"
#include "tests/generated/TestPaths.h"

// The sensor tables that the library ships, and the columns of each.

namespace halvarin::test {

inline const std::filesystem::path kData = HALVARIN_SOURCE_DIR "/database/data";

inline const std::vector<std::string> kPartColumns{"part", "kind",  "unit",  "low",
                                                   "high", "mains", "reason"};
inline const std::vector<std::string> kSensorColumns{"key", "on", "part", "description"};
inline const std::vector<std::string> kModelColumns{"model", "name", "chip", "platform", "list"};
inline const std::vector<std::string> kFamilyColumns{"model", "like", "without", "reason"};
inline const std::vector<std::string> kExceptionColumns{"key", "models", "part", "description",
                                                        "reason"};

/// The files with a row for each key, "sensors/current.tsv" and the like.
inline std::vector<std::string> sensorTables() {
  std::vector<std::string> tables;
  for (const auto& entry : std::filesystem::directory_iterator(kData / "sensors")) {
    tables.push_back("sensors/" + entry.path().filename().string());
  }
  std::sort(tables.begin(), tables.end());
  return tables;
}

/// The shipped tables, loaded and settled once.
struct Shipped {
  packer::SensorTables tables{kData};
  std::vector<std::vector<packer::Sensor>> sensors = resolveAll(tables);
};

inline const Shipped& shipped() {
  static const Shipped data;
  return data;
}

}  // namespace halvarin::test
