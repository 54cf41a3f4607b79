#include <cstdint>
#include <exception>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "platform/Queue.h"
#include "platform/posix/Deadline.h"

namespace halvarin::platform {

namespace {

// Work that waits for a group to become empty, and the queue that it goes to.
struct Notification {
  Queue queue;
  std::function<void()> work;
};

}  // namespace

struct Group::Body {
  Mutex mutex;
  Condition emptied;
  std::uint64_t inside HALVARIN_GUARDED_BY(mutex) = 0;
  // How often the group has become empty: a wait must not miss that when it is entered again at
  // once.
  std::uint64_t timesEmptied HALVARIN_GUARDED_BY(mutex) = 0;
  std::vector<Notification> notifications HALVARIN_GUARDED_BY(mutex);  // none while it is empty

  [[nodiscard]] bool goesOnSince(std::uint64_t begin) const HALVARIN_REQUIRES(mutex) {
    return inside > 0 && timesEmptied == begin;
  }
  [[nodiscard]] std::vector<Notification> leave();
  [[nodiscard]] bool keepsForLater(Notification& notification);
};

// The notifications that are due with this leave.
std::vector<Notification> Group::Body::leave() {
  const MutexLock lock(mutex);
  if (inside == 0) {
    std::terminate();
  }
  if (--inside > 0) {
    return {};
  }
  ++timesEmptied;
  emptied.notifyAll();
  return std::exchange(notifications, {});
}

// Takes the notification in, unless the group is empty.
bool Group::Body::keepsForLater(Notification& notification) {
  const MutexLock lock(mutex);
  if (inside == 0) {
    return false;
  }
  notifications.push_back(std::move(notification));
  return true;
}

Group::Group() : body_(std::make_shared<Body>()) {}

void Group::enter() const {
  const MutexLock lock(body_->mutex);
  ++body_->inside;
}

void Group::leave() const {
  const auto body = body_;  // whoever is let go may destroy this handle before we are through
  std::vector<Notification> due = body->leave();
  // Without the lock: where there are no threads, the queue performs the work in this call.
  for (Notification& each : due) {
    each.queue.async(std::move(each.work));
  }
}

void Group::notify(const Queue& queue, std::function<void()> work) const {
  const auto body = body_;  // as in leave
  Notification notification{queue, std::move(work)};
  if (!body->keepsForLater(notification)) {
    notification.queue.async(std::move(notification.work));
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
