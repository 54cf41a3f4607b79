#pragma once

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

}  // namespace halvarin
