#pragma once

#include "base/Array.h"
#include "base/Value.h"

// What the machine's fan records say of each fan. Any thread; nothing is read from the controller.

namespace halvarin {

/// The records in a new array, the highest "value" first. Texts are ordered with their digits taken
/// as numbers, so "100.25" comes before "99.50" and a reading that failed ("error ...") before
/// both.
[[nodiscard]] ArrayRef hottestFirst(const Array& records);

/// The "value" of the first record; the text "0" when there is none.
[[nodiscard]] Value hottestValue(const Array& hottestFirst);

/// A new fan dictionary (sensors/FanRecord.h) for each fan that "FNum" counts, in index order.
/// `hottest` becomes the "temp" of all of them. What no record says is 0, and the location "Fan0"
/// and so on. At most 65536: a count above that, or below zero, is broken.
[[nodiscard]] ArrayRef fanDictionaries(const Array& records, const Value& hottest);

}  // namespace halvarin
