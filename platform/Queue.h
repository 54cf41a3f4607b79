#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "base/Export.h"
#include "platform/Clock.h"

// Work on other threads. Bodies: posix/Group.cpp, posix/Queue.cpp, posix/Semaphore.cpp;
// macos/Queue.cpp (Grand Central Dispatch).
//
// Queues, groups and semaphores are handles: a copy stands for the same one, and a handle may be
// destroyed as soon as nobody calls it, whatever still runs. Every operation may be called by any
// thread. One that has been moved from is only good for being assigned to or destroyed. const means
// the handle, not what it stands for.

namespace halvarin::platform {

class Queue;

/// Work that somebody waits for together. It may be entered and waited for again and again.
class HALVARIN_EXPORT Group {
 public:
  Group();

  void enter() const;
  /// Each leave answers one enter before it; one too many is a mistake that ends the process.
  void leave() const;

  /// Comes back once the group is empty or has been so while this waited.
  void wait() const;
  /// The same for at most `time` on the current clock; false when that is over. A time of 0 or less
  /// asks without waiting.
  [[nodiscard]] bool wait(Clock::Duration time) const;

  /// Gives work to the queue once the group is empty: before this comes back when it is empty now,
  /// else before the leave that next empties it comes back. Each call gives its work once, even if
  /// the group is entered again by then; what one leave sets free goes in the order of these calls.
  /// The queue lives on until it has the work. The work is never empty. It is destroyed
  /// unperformed when the group's last handle goes before that leave; macOS keeps it for good then.
  void notify(const Queue& queue, std::function<void()> work) const;

 private:
  friend class Queue;

  struct Body;
  std::shared_ptr<Body> body_;
};

/// A count that threads take from, waiting while there is nothing to take.
class HALVARIN_EXPORT Semaphore {
 public:
  explicit Semaphore(std::size_t initialCount = 0);

  /// Adds one, and so lets one wait come back.
  void signal() const;

  /// Takes one.
  void wait() const;
  /// Takes one within `time` on the current clock; false, and nothing taken, when that is over. A
  /// time of 0 or less asks without waiting.
  [[nodiscard]] bool wait(Clock::Duration time) const;

 private:
  struct Body;
  std::shared_ptr<Body> body_;
};

/// Performs work on threads of its own. Work that has been given to it is performed even when the
/// last handle is gone, but not beyond the end of the process. Work is never empty; an exception
/// that leaves it ends the process, as in any thread. Where the system gives no thread, work is
/// left to the queue's other threads, and where it has none, performed by the caller before async
/// returns; on macOS it waits until Grand Central Dispatch has a thread again.
class HALVARIN_EXPORT Queue {
 public:
  enum class Kind {
    serial,      // one item after another in the order of arrival
    concurrent,  // items begin in the order of arrival; up to 64 go on at once, so that they may
                 // block
  };

  /// The label names the queue (macOS) or its threads, as far as the system has room for it.
  Queue(std::string label, Kind kind);

  /// Comes back at once.
  void async(std::function<void()> work) const;
  /// The same; the group is entered now, and left when the work is done and destroyed.
  void async(const Group& group, std::function<void()> work) const;
  /// Comes back when the work is done; which thread does it is open. Never from work of the same
  /// serial queue: that would wait for itself.
  void sync(const std::function<void()>& work) const;

  [[nodiscard]] const std::string& label() const;

 private:
  friend class Group;

  class Body;
  std::shared_ptr<Body> body_;
};

}  // namespace halvarin::platform
