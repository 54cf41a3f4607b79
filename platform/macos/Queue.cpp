#include "platform/Queue.h"

#include <dispatch/dispatch.h>

#include <algorithm>
#include <type_traits>
#include <utility>

#include "platform/posix/DetachedThread.h"

namespace halvarin::platform {

namespace {

// Dispatch objects are counted: what dispatch_..._create gives belongs to the caller, who releases
// it once, and Dispatch itself keeps what it still needs.
struct ReleaseDispatchObject {
  void operator()(dispatch_object_t object) const { dispatch_release(object); }
};

template <typename Object>
using OwnedDispatch = std::unique_ptr<std::remove_pointer_t<Object>, ReleaseDispatchObject>;

using Work = std::function<void()>;

/// For one call of performWork, which takes it over.
void* contextOf(Work work) {
  return new Work(std::move(work));
}

// Frames of C let no exception through.
void performWork(void* context) {
  const std::unique_ptr<const Work> work(static_cast<const Work*>(context));
  performAsThread(*work);
}

dispatch_time_t deadlineAfter(Clock::Duration time) {
  const Clock::Duration realTime = currentClock()->realTime(time);
  return dispatch_time(DISPATCH_TIME_NOW, std::max(realTime, Clock::Duration::zero()).count());
}

}  // namespace

struct Group::Body {
  const OwnedDispatch<dispatch_group_t> group{dispatch_group_create()};
};

struct Semaphore::Body {
  // Counted up from 0: Dispatch ends the process when a semaphore goes with less than it began
  // with.
  const OwnedDispatch<dispatch_semaphore_t> semaphore{dispatch_semaphore_create(0)};
};

class Queue::Body {
 public:
  Body(std::string label, Kind kind)
      : label_(std::move(label)),
        queue_(dispatch_queue_create(label_.c_str(), kind == Kind::concurrent
                                                         ? DISPATCH_QUEUE_CONCURRENT
                                                         : DISPATCH_QUEUE_SERIAL)) {}

  [[nodiscard]] const std::string& label() const { return label_; }
  [[nodiscard]] dispatch_queue_t queue() const { return queue_.get(); }

 private:
  const std::string label_;
  const OwnedDispatch<dispatch_queue_t> queue_;
};

Group::Group() : body_(std::make_shared<Body>()) {}

void Group::enter() const {
  dispatch_group_enter(body_->group.get());
}

void Group::leave() const {
  const auto body = body_;  // whoever is let go may destroy this handle before we are through
  dispatch_group_leave(body->group.get());
}

void Group::wait() const {
  dispatch_group_wait(body_->group.get(), DISPATCH_TIME_FOREVER);
}

bool Group::wait(Clock::Duration time) const {
  return dispatch_group_wait(body_->group.get(), deadlineAfter(time)) == 0;
}

void Group::notify(const Queue& queue, std::function<void()> work) const {
  const auto body = body_;  // as in leave
  dispatch_group_notify_f(body->group.get(), queue.body_->queue(), contextOf(std::move(work)),
                          &performWork);
}

Semaphore::Semaphore(std::size_t initialCount) : body_(std::make_shared<Body>()) {
  for (; initialCount > 0; --initialCount) {
    dispatch_semaphore_signal(body_->semaphore.get());
  }
}

void Semaphore::signal() const {
  const auto body = body_;  // as in Group::leave
  dispatch_semaphore_signal(body->semaphore.get());
}

void Semaphore::wait() const {
  dispatch_semaphore_wait(body_->semaphore.get(), DISPATCH_TIME_FOREVER);
}

bool Semaphore::wait(Clock::Duration time) const {
  return dispatch_semaphore_wait(body_->semaphore.get(), deadlineAfter(time)) == 0;
}

Queue::Queue(std::string label, Kind kind)
    : body_(std::make_shared<Body>(std::move(label), kind)) {}

void Queue::async(std::function<void()> work) const {
  const auto body = body_;  // the work may destroy this handle before we are through
  dispatch_async_f(body->queue(), contextOf(std::move(work)), &performWork);
}

void Queue::async(const Group& group, std::function<void()> work) const {
  const auto body = body_;
  dispatch_group_async_f(group.body_->group.get(), body->queue(), contextOf(std::move(work)),
                         &performWork);
}

void Queue::sync(const std::function<void()>& work) const {
  const auto body = body_;  // as in async; Dispatch itself keeps no queue for who waits
  dispatch_sync_f(body->queue(), contextOf(work), &performWork);
}

const std::string& Queue::label() const {
  return body_->label();
}

}  // namespace halvarin::platform
