#pragma once

#include <chrono>

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
};

/// The computer's steady clock, made faster by a factor: at 10 a wait of a second takes a tenth of
/// one. At 0 the time stands still and no wait takes time.
class HALVARIN_EXPORT ScaledClock : public Clock {
 public:
  /// The factor is finite and not negative.
  explicit ScaledClock(double factor = 1);

  [[nodiscard]] Duration now() override;
  void sleepFor(Duration time) override;

 private:
  double factor_;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace halvarin::platform
