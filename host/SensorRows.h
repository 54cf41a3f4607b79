#pragma once

#include <string>
#include <vector>

#include "base/Dictionary.h"
#include "host/Table.h"
#include "host/VerdictText.h"

namespace halvarin::host {

/// A table for rows of `sensorRow`.
[[nodiscard]] Table sensorTable();

/// Key, description, value, unit, limits and verdict of a record, printable.
[[nodiscard]] std::vector<Cell> sensorRow(const Dictionary& record, bool onMains);

}  // namespace halvarin::host
