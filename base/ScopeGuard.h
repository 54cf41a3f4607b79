#pragma once

#include <utility>

namespace halvarin {

/// Runs an action when the scope is left, on every way out. The action must not throw.
template <typename Action>
class ScopeGuard {
 public:
  explicit ScopeGuard(Action action) : action_(std::move(action)) {}
  ~ScopeGuard() { action_(); }
  ScopeGuard(const ScopeGuard&) = delete;
  ScopeGuard& operator=(const ScopeGuard&) = delete;

 private:
  Action action_;
};

}  // namespace halvarin
