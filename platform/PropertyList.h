#pragma once

#include <optional>

#include "base/Data.h"
#include "base/Export.h"
#include "base/Value.h"

// Property lists, XML and binary, as mutable containers and values.
// Bodies: posix/PropertyList.cpp (libplist), macos/PropertyList.cpp (Core Foundation).

namespace halvarin::platform {

enum class PropertyListFormat { xml, binary };

/// The value that the bytes of a property list describe, either format; nothing when they describe
/// none. Dictionaries inside it are built when they are first looked into, so that one model's
/// table of a large database costs no more than itself. Their entries stand in the list's order
/// or, on macOS, which keeps none, by name. Dates and identifiers, which no sensor table holds, are
/// left out.
[[nodiscard]] HALVARIN_EXPORT Value parsePropertyList(const Data& bytes);

/// The bytes of a property list. Absent for nothing and, on macOS, for text that is not UTF-8. Off
/// macOS texts and names end at a zero byte.
[[nodiscard]] HALVARIN_EXPORT std::optional<Data> writePropertyList(const Value& value,
                                                                    PropertyListFormat format);

}  // namespace halvarin::platform
