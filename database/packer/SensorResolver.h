#pragma once

#include <string>
#include <vector>

#include "database/packer/SensorTables.h"

namespace halvarin::packer {

/// One key of one model with everything settled.
struct Sensor {
  std::string key;
  std::string description;
  Part part;
};

/// The sensors of every model, model by model in the order of the tables. Throws TableError where a
/// key has no meaning, a row or a word of one is not used, or two sensors of a kind in a model
/// carry one description.
[[nodiscard]] std::vector<std::vector<Sensor>> resolveAll(const SensorTables& tables);

}  // namespace halvarin::packer
