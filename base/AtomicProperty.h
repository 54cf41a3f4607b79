#pragma once

#include <utility>

#include "base/Mutex.h"

namespace halvarin {

/// A property whose single get, set or update is indivisible. What the value refers to (an array, a
/// dictionary) is not protected by it. Any thread.
template <typename T>
class AtomicProperty {
 public:
  AtomicProperty() = default;
  explicit AtomicProperty(T value) : value_(std::move(value)) {}

  [[nodiscard]] T get() const {
    const MutexLock lock(mutex_);
    return value_;
  }

  /// The old value is destroyed after the lock is given back: its destructor may be long.
  void set(T value) {
    const MutexLock lock(mutex_);
    std::swap(value_, value);
  }

  /// Changes the value in place: `change` gets it while nobody else does, and must not come back
  /// to this property.
  template <typename Change>
  void update(Change change) {
    const MutexLock lock(mutex_);
    change(value_);
  }

 private:
  mutable Mutex mutex_;
  T value_ HALVARIN_GUARDED_BY(mutex_){};
};

}  // namespace halvarin
