#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/Export.h"

// What the library asks of the application that it is loaded into.
// Bodies: posix/HostServices.cpp over posix/HostBundle.cpp and posix/HostApplication.cpp or, on
// macOS, macos/HostBundle.cpp and macos/HostApplication.mm.

namespace halvarin::platform {

/// Posted on the default notification center when the application is about to end. Off macOS the
/// host posts it itself, once, when it has forced fans.
inline constexpr std::string_view kApplicationWillTerminate =
    "NSApplicationWillTerminateNotification";

/// From now on the end of an AppKit application is posted under that name, once however often this
/// is called. Off macOS, and in programs without an application, nothing is: the host posts it. Any
/// thread.
HALVARIN_EXPORT void forwardApplicationEnd();

/// The path of an auxiliary executable in the host's main bundle; absent when the bundle has none,
/// and always off macOS, where programs have no bundle. A macOS program without a bundle counts the
/// folder that it lies in as one.
[[nodiscard]] HALVARIN_EXPORT std::optional<std::string> auxiliaryExecutablePath(
    std::string_view name);

/// The path of the file that this process runs; "" when the system does not tell.
[[nodiscard]] HALVARIN_EXPORT std::string ownExecutablePath();

/// The host's translation of a text for the person at the computer; the text itself when the host
/// has none. Where the host has set no translator or that knows none, the main bundle's strings
/// have it on macOS. Any thread.
[[nodiscard]] HALVARIN_EXPORT std::string localizedText(std::string_view text);

/// Translates a text; absent when it knows none. Called by any thread, by several at the same time.
using TextTranslator = std::function<std::optional<std::string>(std::string_view text)>;

/// From now on this one translates; an empty one ends that. Calls that go on meanwhile still use
/// the one before. Any thread.
HALVARIN_EXPORT void setTextTranslator(TextTranslator translator);

/// A warning, its texts already translated.
struct Alert {
  std::string messageText;      // what is the matter, in a word or two
  std::string defaultButton;    // the only button
  std::string informativeText;  // the matter explained
};

/// Shows a warning to the person at the computer and comes back at once: nobody waits for the
/// answer or is told it. The presenter that is set now gets it later on the main thread
/// (MainThread.h). Where none is set, the warning is a sheet on the main window of an AppKit
/// application; where there is none, the system log gets one line of messageText, a blank and
/// informativeText, with a blank for each line feed in them. Any thread.
HALVARIN_EXPORT void showAlert(Alert alert);

/// Shows a warning; called on the main thread.
using AlertPresenter = std::function<void(const Alert& alert)>;

/// From now on this one shows warnings; an empty one leaves them to the application or the system
/// log. Any thread.
HALVARIN_EXPORT void setAlertPresenter(AlertPresenter presenter);

}  // namespace halvarin::platform
