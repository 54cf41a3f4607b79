#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"
#include "base/Mutex.h"
#include "base/Value.h"

namespace halvarin {

/// What an observer receives.
struct Notification {
  std::string name;
  const void* sender = nullptr;  // the object that posts, for comparison only; null when anonymous
  DictionaryRef userInfo;        // may be null
};

/// Delivers notifications by name inside the process: synchronously, on the thread that posts, in
/// the order of registration. Any thread may register, remove and post, observers included.
class HALVARIN_EXPORT NotificationCenter {
 public:
  using Token = std::uint64_t;
  using Observer = std::function<void(const Notification&)>;

  /// The process's own center. Lives as long as the process.
  [[nodiscard]] static NotificationCenter& defaultCenter();

  /// Registers an observer for a name, from one sender or (null) from any. The token is never 0.
  [[nodiscard]] Token addObserver(std::string_view name, const void* sender, Observer observer);

  /// Removes a registration; an unknown token changes nothing. A delivery that has already begun to
  /// call the observer on another thread still completes.
  void removeObserver(Token token);

  void post(const Notification& notification);

 private:
  struct Registration {
    Token token;
    std::string name;
    const void* sender;
    Observer observer;
  };

  /// The observer of a registration that still stands; empty for one that was removed.
  [[nodiscard]] Observer observerOf(Token token);

  Mutex mutex_;
  std::vector<Registration> registrations_ HALVARIN_GUARDED_BY(mutex_);
  Token lastToken_ HALVARIN_GUARDED_BY(mutex_) = 0;
};

}  // namespace halvarin
