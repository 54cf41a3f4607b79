#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "base/Array.h"
#include "base/Dictionary.h"

namespace halvarin {

/// The records in a new array, those left out whose reading is below 0. A reading that failed or
/// has no number counts as 0.
[[nodiscard]] ArrayRef withoutNegative(const Array& records);

/// What one pass reads with; both block for their transfers.
struct PassReaders {
  std::function<ArrayRef()> fans;
  std::function<ArrayRef(std::string_view category, bool onMains)> category;
};

/// One update pass: reads the fans, then five categories, and gives the seven entries of the
/// notification (sensors/SensorUpdate.h). On the calling thread.
[[nodiscard]] DictionaryRef takeUpdatePass(const std::string& powerSource,
                                           const PassReaders& readers);

}  // namespace halvarin
