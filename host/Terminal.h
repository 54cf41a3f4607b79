#pragma once

#include <string>
#include <string_view>

namespace halvarin::host {

/// Whether standard output is a terminal that may be coloured (NO_COLOR is not set).
[[nodiscard]] bool mayColour();

/// Takes the numbers of standard descriptors that the program was started without, so that nothing
/// else that it opens, such as the way to the machine, is taken for its output. What is written to
/// such an output still fails.
void occupyStandardDescriptors();

/// The text with everything a terminal could take for a command shown as "?".
[[nodiscard]] std::string printable(std::string_view text);

}  // namespace halvarin::host
