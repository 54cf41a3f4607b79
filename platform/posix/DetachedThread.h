#pragma once

#include <functional>

namespace halvarin::platform {

/// Performs work on a new thread that nobody waits for. False when the system gives none: then the
/// work is not performed. An exception that leaves it ends the process.
[[nodiscard]] bool startDetachedThread(const std::function<void()>& work);

/// Performs work on the calling thread the way a thread of its own would: an exception that leaves
/// it ends the process.
void performAsThread(const std::function<void()>& work);

}  // namespace halvarin::platform
