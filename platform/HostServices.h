#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Export.h"

// What the library asks of the application that it is loaded into.
// Bodies: posix/HostServices.cpp.

namespace halvarin::platform {

/// Posted on the default notification center when the application is about to end. Off macOS the
/// host posts it itself, once, when it has forced fans.
inline constexpr std::string_view kApplicationWillTerminate =
    "NSApplicationWillTerminateNotification";

/// The path of an auxiliary executable in the host's main bundle; absent when the bundle has none,
/// and always off macOS, where programs have no bundle.
[[nodiscard]] HALVARIN_EXPORT std::optional<std::string> auxiliaryExecutablePath(
    std::string_view name);

/// The path of the file that this process runs; "" when the system does not tell.
[[nodiscard]] HALVARIN_EXPORT std::string ownExecutablePath();

}  // namespace halvarin::platform
