#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "database/packer/SensorTables.h"
#include "tests/generated/TestPaths.h"

// The sensor tables that the library ships, and the columns of each.

namespace halvarin::test {

inline const std::filesystem::path kData = HALVARIN_SOURCE_DIR "/database/data";

inline const std::vector<std::string> kPartColumns{"part", "kind",  "unit",  "low",
                                                   "high", "mains", "reason"};
inline const std::vector<std::string> kSensorColumns{"key", "on", "part", "description"};
inline const std::vector<std::string> kModelColumns{"model", "name", "chip", "platform", "list"};
inline const std::vector<std::string> kExceptionColumns{"model", "key", "field", "value", "reason"};

/// The shipped tables, loaded and settled once.
struct Shipped {
  packer::SensorTables tables{kData};
  std::vector<std::vector<packer::Sensor>> sensors = tables.resolveAll();
};

inline const Shipped& shipped() {
  static const Shipped data;
  return data;
}

}  // namespace halvarin::test
