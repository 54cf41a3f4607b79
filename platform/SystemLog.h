#pragma once

#include <functional>
#include <string_view>

#include "base/Export.h"

// The system log. Bodies: posix/SystemLog.cpp (standard error and syslog).

namespace halvarin::platform {

/// Receives log lines without a line end, from any thread, one at a time.
using SystemLogSink = std::function<void(std::string_view line)>;

/// Writes one line to the sink.
HALVARIN_EXPORT void systemLog(std::string_view line);

/// Sends all later lines to another sink; an empty one restores the system's own. The sink must
/// not log itself.
HALVARIN_EXPORT void setSystemLogSink(SystemLogSink sink);

}  // namespace halvarin::platform
