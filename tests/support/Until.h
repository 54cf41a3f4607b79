#pragma once

#include <chrono>
#include <thread>

namespace halvarin::test {

/// Waits until a condition about another process holds; false when it does not within the limit.
template <typename Condition>
bool becomesTrue(std::chrono::steady_clock::duration limit, Condition condition) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition() && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return condition();
}

}  // namespace halvarin::test
