#include <cstdint>
#include <exception>

#include "base/Mutex.h"
#include "platform/Queue.h"
#include "platform/posix/Deadline.h"

namespace halvarin::platform {

struct Group::Body {
  Mutex mutex;
  Condition emptied;
  std::uint64_t inside HALVARIN_GUARDED_BY(mutex) = 0;
  // How often the group has become empty: a wait must not miss that when it is entered again at
  // once.
  std::uint64_t timesEmptied HALVARIN_GUARDED_BY(mutex) = 0;

  [[nodiscard]] bool goesOnSince(std::uint64_t begin) const HALVARIN_REQUIRES(mutex) {
    return inside > 0 && timesEmptied == begin;
  }
};

Group::Group() : body_(std::make_shared<Body>()) {}

void Group::enter() const {
  const MutexLock lock(body_->mutex);
  ++body_->inside;
}

void Group::leave() const {
  const auto body = body_;  // whoever is let go may destroy this handle before we are through
  const MutexLock lock(body->mutex);
  if (body->inside == 0) {
    std::terminate();
  }
  if (--body->inside == 0) {
    ++body->timesEmptied;
    body->emptied.notifyAll();
  }
}

void Group::wait() const {
  Body& body = *body_;
  const MutexLock lock(body.mutex);
  const std::uint64_t begin = body.timesEmptied;
  while (body.goesOnSince(begin)) {
    body.emptied.wait(body.mutex);
  }
}

bool Group::wait(Clock::Duration time) const {
  const RealMoment deadline = deadlineAfter(time);
  Body& body = *body_;
  const MutexLock lock(body.mutex);
  const std::uint64_t begin = body.timesEmptied;
  while (body.goesOnSince(begin)) {
    if (!body.emptied.waitUntil(body.mutex, deadline) && body.goesOnSince(begin)) {
      return false;
    }
  }
  return true;
}

}  // namespace halvarin::platform
