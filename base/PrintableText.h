#pragma once

#include <string>
#include <string_view>

#include "base/Export.h"

namespace halvarin {

/// The text with everything a terminal could take for a command shown as "?".
[[nodiscard]] HALVARIN_EXPORT std::string printable(std::string_view text);

}  // namespace halvarin
