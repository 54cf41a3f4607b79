#pragma once

#include <string_view>

#include "base/Array.h"
#include "base/Dictionary.h"

namespace halvarin {

/// The records (null: none) whose key matches a pattern, in their order, after the descriptor that
/// a sensor table (null: none) has for each key was copied into it: "description", "unit", "high
/// limit" and "low limit", "" where the table has none, and "ACqualified" only where it states one.
/// With `describedOnly` records without a description are left out of the result.
ArrayRef describeMatching(const ArrayRef& records, const DictionaryRef& sensorTable,
                          std::string_view pattern, bool describedOnly);

}  // namespace halvarin
