#pragma once

#include <functional>
#include <string_view>

#include "base/Export.h"

// The system log. Body: posix/SystemLog.cpp over posix/SystemLogLine.cpp (standard error and
// syslog) or macos/SystemLogLine.mm (NSLog).

namespace halvarin::platform {

/// Receives log lines without a line end, from any thread, one at a time.
using SystemLogSink = std::function<void(std::string_view line)>;

/// Writes one line to the sink.
HALVARIN_EXPORT void systemLog(std::string_view line);

/// Sends all later lines to another sink; an empty one restores the system's own. The sink must
/// not log itself.
HALVARIN_EXPORT void setSystemLogSink(SystemLogSink sink);

}  // namespace halvarin::platform
