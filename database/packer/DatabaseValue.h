#pragma once

#include "base/Value.h"
#include "database/packer/SensorTables.h"

namespace halvarin::packer {

/// The whole database as the property list that the library reads (database/SensorDatabase.h).
/// Throws TableError for a row that is wrong.
[[nodiscard]] Value databaseFrom(const SensorTables& tables);

}  // namespace halvarin::packer
