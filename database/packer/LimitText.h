#pragma once

#include <string>

#include "database/packer/TableFile.h"

namespace halvarin::packer {

/// Checks the limits of a row: both or none ("" is none), decimal numbers, low not above high.
void checkLimits(const TableRow& row, const std::string& low, const std::string& high);

}  // namespace halvarin::packer
