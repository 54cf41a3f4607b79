#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// Clang's lock analysis reads these; other compilers see nothing.
#if defined(__clang__)
#define HALVARIN_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define HALVARIN_THREAD_ATTRIBUTE(x)
#endif

#define HALVARIN_GUARDED_BY(x) HALVARIN_THREAD_ATTRIBUTE(guarded_by(x))
#define HALVARIN_REQUIRES(...) HALVARIN_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))

namespace halvarin {

/// A standard mutex that the lock analysis understands. Not recursive.
class HALVARIN_THREAD_ATTRIBUTE(capability("mutex")) Mutex {
 public:
  void lock() HALVARIN_THREAD_ATTRIBUTE(acquire_capability()) { mutex_.lock(); }
  void unlock() HALVARIN_THREAD_ATTRIBUTE(release_capability()) { mutex_.unlock(); }

 private:
  friend class Condition;

  std::mutex mutex_;
};

/// Holds a Mutex for the life of a scope.
class HALVARIN_THREAD_ATTRIBUTE(scoped_lockable) MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) HALVARIN_THREAD_ATTRIBUTE(acquire_capability(mutex))
      : mutex_(mutex) {
    mutex_.lock();
  }
  ~MutexLock() HALVARIN_THREAD_ATTRIBUTE(release_capability()) { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

/// What threads that hold a Mutex wait for. A wait gives the mutex back while it lasts and may end
/// without a notification: wait in a loop that looks at the state. Any thread.
class Condition {
 public:
  void wait(Mutex& mutex) HALVARIN_REQUIRES(mutex) {
    std::unique_lock<std::mutex> held(mutex.mutex_, std::adopt_lock);
    condition_.wait(held);
    held.release();
  }

  /// False when the moment has come.
  [[nodiscard]] bool waitUntil(Mutex& mutex, std::chrono::steady_clock::time_point moment)
      HALVARIN_REQUIRES(mutex) {
    std::unique_lock<std::mutex> held(mutex.mutex_, std::adopt_lock);
    const std::cv_status status = condition_.wait_until(held, moment);
    held.release();
    return status == std::cv_status::no_timeout;
  }

  void notifyOne() { condition_.notify_one(); }
  void notifyAll() { condition_.notify_all(); }

 private:
  std::condition_variable condition_;
};

}  // namespace halvarin
