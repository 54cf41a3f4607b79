#pragma once

namespace halvarin::host {

/// Whether standard output is a terminal that may be coloured (NO_COLOR is not set).
[[nodiscard]] bool mayColour();

/// Takes the numbers of standard descriptors that the program was started without, so that nothing
/// else that it opens, such as the way to the machine, is taken for its output. What is written to
/// such an output still fails.
void occupyStandardDescriptors();

}  // namespace halvarin::host
