#pragma once

namespace halvarin::test {

/// While one lives, the direct writes of this process are counted, and the first of them are
/// interrupted by a signal before anything is written. Output through streams is not concerned.
class WatchedWrites {
 public:
  explicit WatchedWrites(int interruptions = 0);
  ~WatchedWrites();
  WatchedWrites(const WatchedWrites&) = delete;
  WatchedWrites& operator=(const WatchedWrites&) = delete;

  [[nodiscard]] int count() const;
};

}  // namespace halvarin::test
