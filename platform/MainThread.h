#pragma once

#include <cstddef>
#include <functional>

#include "base/Export.h"

// The thread that a host gives to the library's callbacks. Bodies: posix/MainThread.cpp over
// posix/SystemLoop.cpp or macos/SystemLoop.cpp.

namespace halvarin::platform {

/// The process's list of work for one thread, in the order of arrival. It is performed by `run`, or
/// by `performPending` in a host with a loop of its own, on the thread that calls them; without
/// either nothing is performed, but that on macOS the main queue performs it too, so that an
/// application whose main run loop runs needs neither. Work is kept until then. It may itself call
/// every function here. An exception that leaves work leaves the function that performs it, and
/// what still waits is kept; out of the main queue it ends the process.
class HALVARIN_EXPORT MainThread {
 public:
  MainThread() = delete;

  /// Performs work as it arrives, until stopped; waits while there is none. Work may run it again:
  /// the inner run performs what follows. Called by one thread, the main thread.
  static void run();

  /// Ends the innermost run that is going on, after its present item; what still waits is kept for
  /// the next one. When none is going on, the next run comes back at once and performs nothing.
  /// Until the run has ended, further stops change nothing. Any thread.
  static void stop();

  /// Adds work, and never performs it itself. The work is never empty. Any thread.
  static void perform(std::function<void()> work);

  /// Performs what waits now, without blocking, and returns how many items that were. What arrives
  /// meanwhile waits for the next call. Called by the main thread.
  static std::size_t performPending();

  /// A file descriptor that is readable exactly while work waits, for select and poll; closed in
  /// programs that the process starts. It stays the library's: the host neither reads nor closes
  /// it. -1 when the system gives none; asked again, it tries again. Any thread.
  [[nodiscard]] static int descriptor();
};

}  // namespace halvarin::platform
