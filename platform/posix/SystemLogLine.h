#pragma once

#include <string_view>

namespace halvarin::platform {

/// Writes one line to the system's own log. Any thread.
void writeSystemLogLine(std::string_view line);

}  // namespace halvarin::platform
