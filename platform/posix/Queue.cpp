#include "platform/Queue.h"

#include <chrono>
#include <deque>
#include <optional>
#include <utility>

#include "base/Mutex.h"
#include "base/ScopeGuard.h"
#include "platform/posix/DetachedThread.h"
#include "platform/posix/ThreadName.h"

namespace halvarin::platform {

namespace {

using Work = std::function<void()>;
using RealTime = std::chrono::steady_clock;

// Items may block, in transfers or for each other; more than these wait for their turn.
constexpr std::size_t kMostThreads = 64;

// What keeps a thread from one item to the next of a busy queue, in the computer's own time: no
// result depends on it. Making a thread again takes some tens of microseconds.
constexpr std::chrono::milliseconds kIdleTime{100};

}  // namespace

/// What the handles and the threads of a queue share. The threads hold it while they live; the last
/// handle's end is told to it.
class Queue::Body : public std::enable_shared_from_this<Queue::Body> {
 public:
  Body(std::string label, Kind kind)
      : label_(std::move(label)), mostThreads_(kind == Kind::serial ? 1 : kMostThreads) {}

  [[nodiscard]] const std::string& label() const { return label_; }

  void add(Work work);
  void endThreadsOnceIdle();

 private:
  [[nodiscard]] bool needsThreadFor(Work work);
  void startThread();
  [[nodiscard]] bool leaveToOtherThreads();
  void performFor(std::chrono::milliseconds idleTime);
  [[nodiscard]] std::optional<Work> nextWithin(std::chrono::milliseconds idleTime);

  const std::string label_;
  const std::size_t mostThreads_;
  Mutex mutex_;
  Condition changed_;
  std::deque<Work> items_ HALVARIN_GUARDED_BY(mutex_);
  std::size_t threads_ HALVARIN_GUARDED_BY(mutex_) = 0;  // the idle and the coming ones included
  std::size_t idleThreads_ HALVARIN_GUARDED_BY(mutex_) = 0;  // those that wait for an item
  bool abandoned_ HALVARIN_GUARDED_BY(mutex_) = false;       // no handle is left
};

void Queue::Body::add(Work work) {
  if (needsThreadFor(std::move(work))) {
    startThread();
  }
}

// Takes the work in. True when a thread has to be started for it, which is counted from now on.
bool Queue::Body::needsThreadFor(Work work) {
  const MutexLock lock(mutex_);
  items_.push_back(std::move(work));
  if (items_.size() <= idleThreads_) {
    changed_.notifyOne();
    return false;
  }
  if (threads_ == mostThreads_) {
    return false;
  }
  ++threads_;
  return true;
}

void Queue::Body::startThread() {
  const auto body = shared_from_this();
  const bool started = startDetachedThread([body] {
    nameThisThread(body->label_);
    body->performFor(kIdleTime);
  });
  if (!started && !leaveToOtherThreads()) {
    performAsThread([&] { performFor(std::chrono::milliseconds::zero()); });
  }
}

// Without another thread the caller stays counted: it becomes the thread.
bool Queue::Body::leaveToOtherThreads() {
  const MutexLock lock(mutex_);
  if (threads_ == 1) {
    return false;
  }
  --threads_;
  return true;
}

// The life of a thread of the queue.
void Queue::Body::performFor(std::chrono::milliseconds idleTime) {
  while (const std::optional<Work> work = nextWithin(idleTime)) {
    (*work)();
  }
}

// The next item; none when the thread has to end, which is then no longer counted.
std::optional<Work> Queue::Body::nextWithin(std::chrono::milliseconds idleTime) {
  const auto deadline = RealTime::now() + idleTime;
  const MutexLock lock(mutex_);
  ++idleThreads_;
  bool inTime = true;
  while (items_.empty() && inTime && !abandoned_) {
    inTime = changed_.waitUntil(mutex_, deadline);
  }
  --idleThreads_;
  if (items_.empty()) {
    --threads_;
    return std::nullopt;
  }
  std::optional<Work> work(std::move(items_.front()));
  items_.pop_front();
  return work;
}

void Queue::Body::endThreadsOnceIdle() {
  const MutexLock lock(mutex_);
  abandoned_ = true;
  changed_.notifyAll();
}

Queue::Queue(std::string label, Kind kind) {
  const auto body = std::make_shared<Body>(std::move(label), kind);
  auto abandon = [body] { body->endThreadsOnceIdle(); };
  body_ = {std::make_shared<ScopeGuard<decltype(abandon)>>(abandon), body.get()};
}

void Queue::async(std::function<void()> work) const {
  const auto body = body_;  // the work may destroy this handle before we are through
  body->add(std::move(work));
}

void Queue::async(const Group& group, std::function<void()> work) const {
  group.enter();
  async([group, work = std::move(work)]() mutable {
    work();
    work = nullptr;
    group.leave();
  });
}

void Queue::sync(const std::function<void()>& work) const {
  const Semaphore done;
  async([done, &work] {
    work();
    done.signal();
  });
  done.wait();
}

const std::string& Queue::label() const {
  return body_->label();
}

}  // namespace halvarin::platform
