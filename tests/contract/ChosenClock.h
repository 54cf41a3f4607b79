#pragma once

#include <chrono>
#include <memory>

#include "platform/Clock.h"
#include "platform/machine/CurrentMachine.h"

namespace halvarin::test {

/// Makes the process live faster by a factor while it lives.
class ChosenClock {
 public:
  explicit ChosenClock(double factor)
      : clock_(std::make_shared<platform::ScaledClock>(factor)), begin_(clock_->now()) {
    platform::setMachine(nullptr, clock_);
  }
  ~ChosenClock() { platform::setMachine(nullptr); }
  ChosenClock(const ChosenClock&) = delete;
  ChosenClock& operator=(const ChosenClock&) = delete;

  /// On this clock.
  [[nodiscard]] platform::Clock::Duration age() const { return clock_->now() - begin_; }

 private:
  std::shared_ptr<platform::Clock> clock_;
  platform::Clock::Duration begin_;
};

/// What a wait of `time` may come back too early on a clock of that factor: the conversions to and
/// from real time.
inline platform::Clock::Duration roundingAt(double factor) {
  using std::chrono_literals::operator""ns;
  return std::chrono::duration_cast<platform::Clock::Duration>(factor * 10ns);
}

}  // namespace halvarin::test
