#pragma once

#include <string_view>

#include "base/Export.h"

// How texts are ordered for people. Bodies: posix/TextOrder.cpp, macos/TextOrder.cpp.

namespace halvarin::platform {

/// Three-way order of two texts, letters compared without their case and runs of digits by their
/// number, so that "9" comes before "10" and "TC1c" equals "tc01C". Negative: a comes first.
[[nodiscard]] HALVARIN_EXPORT int compareNumericCaseInsensitive(std::string_view a,
                                                                std::string_view b);

}  // namespace halvarin::platform
