#include <CoreFoundation/CFRunLoop.h>
#include <dispatch/dispatch.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <limits>
#include <mutex>
#include <string>
#include <utility>

#include "platform/Queue.h"
#include "tests/darwin/standin/Objects.h"

using halvarin::platform::Clock;
using halvarin::platform::Group;
using halvarin::platform::Queue;
using halvarin::platform::Semaphore;
using halvarin::standin::refuse;

namespace {

// What a pointer of Dispatch points to here; nobody else looks into one.
struct Counted {
  Counted() { ++halvarin::standin::Object::living; }
  virtual ~Counted() { --halvarin::standin::Object::living; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  std::atomic<int> count{1};
  std::atomic<int> waiting{0};  // who waits for work on it without keeping it
};

template <typename Held>
struct Holder : Counted {
  template <typename... Arguments>
  explicit Holder(Arguments&&... arguments) : held(std::forward<Arguments>(arguments)...) {}
  const Held held;
};

Counted* countedOf(dispatch_object_t object) {
  return static_cast<Counted*>(static_cast<void*>(object));
}

template <typename Held>
const Held& heldBy(dispatch_object_t object) {
  return static_cast<Holder<Held>*>(countedOf(object))->held;
}

template <typename Object, typename Held, typename... Arguments>
Object newHolder(Arguments&&... arguments) {
  Counted* const holder = new Holder<Held>(std::forward<Arguments>(arguments)...);
  return static_cast<Object>(static_cast<void*>(holder));
}

// Work of the main queue, until somebody runs the main loop.
struct MainQueue {
  using Item = std::pair<dispatch_function_t, void*>;
  void add(dispatch_function_t work, void* context) {
    const std::lock_guard lock(mutex);
    items.emplace_back(work, context);
  }
  /// One pass of the main loop: what is added meanwhile waits for the next.
  void performWaiting() {
    std::deque<Item> taken;
    {
      const std::lock_guard lock(mutex);
      taken.swap(items);
    }
    for (const auto& [work, context] : taken) {
      work(context);
    }
  }
  std::mutex mutex;
  std::deque<Item> items;
};

MainQueue& mainQueue() {
  static auto* const queue = new MainQueue;
  return *queue;
}

const Queue& ownQueue(dispatch_queue_t queue) {
  if (queue == &_dispatch_main_q) {
    refuse("this use of the main queue");
  }
  return heldBy<Queue>(queue);
}

std::int64_t nowNanoseconds() {
  return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Clock::Duration timeUntil(dispatch_time_t moment) {
  if (moment == DISPATCH_TIME_NOW) {
    return Clock::Duration::zero();
  }
  return Clock::Duration(static_cast<std::int64_t>(moment) - nowNanoseconds());
}

template <typename Waitable>
intptr_t waitFor(const Waitable& waitable, dispatch_time_t timeout) {
  if (timeout == DISPATCH_TIME_FOREVER) {
    waitable.wait();
    return 0;
  }
  return waitable.wait(timeUntil(timeout)) ? 0 : 49;  // any other number than 0
}

}  // namespace

extern "C" {

void dispatch_retain(dispatch_object_t object) {
  ++countedOf(object)->count;
}

void dispatch_release(dispatch_object_t object) {
  if (--countedOf(object)->count == 0) {
    if (countedOf(object)->waiting > 0) {
      refuse("a queue that goes while somebody waits for its work");
    }
    delete countedOf(object);
  }
}

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta) {
  if (when != DISPATCH_TIME_NOW || delta < 0) {
    refuse("times from another moment than now, or before");
  }
  const std::int64_t now = nowNanoseconds();
  return delta > std::numeric_limits<std::int64_t>::max() - now
             ? DISPATCH_TIME_FOREVER
             : static_cast<dispatch_time_t>(now + delta);
}

dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attr) {
  if (attr != DISPATCH_QUEUE_SERIAL && attr != DISPATCH_QUEUE_CONCURRENT) {
    refuse("these attributes of a queue");
  }
  return newHolder<dispatch_queue_t, Queue>(
      label, attr == DISPATCH_QUEUE_SERIAL ? Queue::Kind::serial : Queue::Kind::concurrent);
}

void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work) {
  if (queue == &_dispatch_main_q) {
    mainQueue().add(work, context);
    return;
  }
  ownQueue(queue).async([=] { work(context); });
}

void dispatch_sync_f(dispatch_queue_t queue, void* context, dispatch_function_t work) {
  const Queue& own = ownQueue(queue);
  ++countedOf(queue)->waiting;
  own.sync([=] { work(context); });
  --countedOf(queue)->waiting;
}

dispatch_group_t dispatch_group_create() {
  return newHolder<dispatch_group_t, Group>();
}

void dispatch_group_enter(dispatch_group_t group) {
  heldBy<Group>(group).enter();
}

void dispatch_group_leave(dispatch_group_t group) {
  heldBy<Group>(group).leave();
}

intptr_t dispatch_group_wait(dispatch_group_t group, dispatch_time_t timeout) {
  return waitFor(heldBy<Group>(group), timeout);
}

void dispatch_group_async_f(dispatch_group_t group, dispatch_queue_t queue, void* context,
                            dispatch_function_t work) {
  ownQueue(queue).async(heldBy<Group>(group), [=] { work(context); });
}

void dispatch_group_notify_f(dispatch_group_t group, dispatch_queue_t queue, void* context,
                             dispatch_function_t work) {
  heldBy<Group>(group).notify(ownQueue(queue), [=] { work(context); });
}

// A semaphore that goes with less than it began with ends the process; so only 0 is safe.
dispatch_semaphore_t dispatch_semaphore_create(intptr_t value) {
  if (value != 0) {
    refuse("semaphores that do not begin with 0");
  }
  return newHolder<dispatch_semaphore_t, Semaphore>();
}

intptr_t dispatch_semaphore_signal(dispatch_semaphore_t dsema) {
  heldBy<Semaphore>(dsema).signal();
  return 0;
}

intptr_t dispatch_semaphore_wait(dispatch_semaphore_t dsema, dispatch_time_t timeout) {
  return waitFor(heldBy<Semaphore>(dsema), timeout);
}

const CFRunLoopMode kCFRunLoopDefaultMode = halvarin::standin::constantText("default");

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled) {
  if (mode != kCFRunLoopDefaultMode || seconds != 0 || returnAfterSourceHandled != 0) {
    refuse("a main loop that waits");
  }
  mainQueue().performWaiting();
  return kCFRunLoopRunTimedOut;
}

}  // extern "C"
