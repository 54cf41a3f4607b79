#pragma once

#include <string>
#include <string_view>

#include "platform/HostServices.h"

// What the host brings along by itself: its bundle and its application, where the system has such.

namespace halvarin::platform {

/// The text in the language of the person at the computer, from the strings of the main bundle; the
/// text itself when they have none. Any thread.
[[nodiscard]] std::string bundleText(std::string_view text);

/// Shows a warning on the application's main window and comes back at once; where there is none, it
/// is one line of the system log. Any thread.
void showAlertOfApplication(const Alert& alert);

/// The line of the system log that stands for a warning.
[[nodiscard]] std::string alertLine(const Alert& alert);

}  // namespace halvarin::platform
