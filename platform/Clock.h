#pragma once

#include <chrono>
#include <memory>

#include "base/Export.h"

namespace halvarin::platform {

/// The only source of time, and the only thing that waits. Any thread.
class HALVARIN_EXPORT Clock {
 public:
  using Duration = std::chrono::nanoseconds;

  virtual ~Clock() = default;

  /// Time since some fixed moment; never runs backwards.
  [[nodiscard]] virtual Duration now() = 0;
  virtual void sleepFor(Duration time) = 0;

  /// How long a wait of `time` on this clock takes on the computer. Waits that something else can
  /// end, those of groups and semaphores, last so long at most.
  [[nodiscard]] virtual Duration realTime(Duration time) = 0;
};

/// The computer's steady clock, made faster by a factor: at 10 a wait of a second takes a tenth of
/// one. At 0 the time stands still and no wait takes time.
class HALVARIN_EXPORT ScaledClock : public Clock {
 public:
  /// The factor is finite and not negative.
  explicit ScaledClock(double factor = 1);

  [[nodiscard]] Duration now() override;
  void sleepFor(Duration time) override;
  /// The time divided by the factor, down to a whole nanosecond; 0 at factor 0. What no duration
  /// can hold is the longest (or, of a negative time, the shortest) one.
  [[nodiscard]] Duration realTime(Duration time) override;

 private:
  double factor_;
  std::chrono::steady_clock::time_point start_;
};

/// The clock of the process's machine: what every timed wait of the library goes by; the computer's
/// own without a choice (setMachine in platform/machine/CurrentMachine.h). Never null. Any thread.
[[nodiscard]] HALVARIN_EXPORT std::shared_ptr<Clock> currentClock();

}  // namespace halvarin::platform
