#pragma once

#include <string>
#include <string_view>

namespace halvarin::host {

/// Whether standard output is a terminal that may be coloured (NO_COLOR is not set).
[[nodiscard]] bool mayColour();

/// The text with everything a terminal could take for a command shown as "?".
[[nodiscard]] std::string printable(std::string_view text);

}  // namespace halvarin::host
