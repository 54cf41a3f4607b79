#pragma once

#include <functional>

#include "base/Export.h"

// Work on a thread of its own. Body: posix/BackgroundThread.cpp.

namespace halvarin::platform {

/// Performs work on a new thread that nobody waits for, and comes back at once. Where the system
/// gives no thread, the caller performs the work before this comes back: lost work would keep those
/// who wait for its result waiting for ever. The work is never empty; an exception that leaves it
/// ends the process, on either thread. It ends with the process at the latest. Any thread.
HALVARIN_EXPORT void performInBackground(std::function<void()> work);

}  // namespace halvarin::platform
