#include "base/Mutex.h"
#include "platform/Queue.h"
#include "platform/posix/Deadline.h"

namespace halvarin::platform {

struct Semaphore::Body {
  Mutex mutex;
  Condition signalled;
  std::size_t count HALVARIN_GUARDED_BY(mutex) = 0;
};

Semaphore::Semaphore(std::size_t initialCount) : body_(std::make_shared<Body>()) {
  const MutexLock lock(body_->mutex);
  body_->count = initialCount;
}

void Semaphore::signal() const {
  const auto body = body_;  // whoever is let go may destroy this handle before we are through
  const MutexLock lock(body->mutex);
  ++body->count;
  body->signalled.notifyOne();
}

void Semaphore::wait() const {
  Body& body = *body_;
  const MutexLock lock(body.mutex);
  while (body.count == 0) {
    body.signalled.wait(body.mutex);
  }
  --body.count;
}

bool Semaphore::wait(Clock::Duration time) const {
  const RealMoment deadline = deadlineAfter(time);
  Body& body = *body_;
  const MutexLock lock(body.mutex);
  while (body.count == 0) {
    if (!body.signalled.waitUntil(body.mutex, deadline) && body.count == 0) {
      return false;
    }
  }
  --body.count;
  return true;
}

}  // namespace halvarin::platform
