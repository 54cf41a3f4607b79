#pragma once

#include "base/Data.h"

namespace halvarin::bench {

/// A binary property list shaped like the sensor database, of about 3.2 million bytes.
[[nodiscard]] const Data& largePropertyList();

/// The same in its enciphered container.
[[nodiscard]] const Data& largeContainer();

/// The container of a database of so many models with as many sensors as the usual model has.
[[nodiscard]] Data containerOfModels(int models);

}  // namespace halvarin::bench
