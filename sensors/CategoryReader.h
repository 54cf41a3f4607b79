#pragma once

#include <functional>
#include <string_view>

#include "base/Array.h"
#include "base/Dictionary.h"

namespace halvarin {

/// Reads a key into its record and returns the record; null for a key that is not known.
using KeyReader = std::function<DictionaryRef(std::string_view key)>;

/// What one walk over a list of records does beside reading, decoding and judging.
struct CategoryPass {
  bool onMains = false;
  bool logUi32 = false;  // log "ui32 KEY" for each key of that type
};

/// Reads every record of a list afresh, replaces its "value" by display text and judges it against
/// its limits. A failed read shows as "error %x" and keeps its verdict. A fault while a record is
/// decoded is logged in three lines and ends the walk; the records after it stay as they were. Any
/// thread; overlapping walks are allowed, the last write wins.
void readCategory(const Array& records, const KeyReader& readKey, const CategoryPass& pass);

}  // namespace halvarin
