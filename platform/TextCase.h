#pragma once

#include <string>
#include <string_view>

#include "base/Export.h"

// Letters without their case. Body: posix/TextCase.cpp over posix/LowerCase.cpp or
// macos/LowerCase.cpp.

namespace halvarin::platform {

/// The text with small letters for capital ones, those beyond ASCII too, the same in every locale.
/// Bytes that are not UTF-8 stay as they are. Any thread.
[[nodiscard]] HALVARIN_EXPORT std::string lowercased(std::string_view utf8);

}  // namespace halvarin::platform
