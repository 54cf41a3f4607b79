#include "platform/Clock.h"

#include <thread>

namespace halvarin::platform {

namespace {

using RealSeconds = std::chrono::duration<double>;

}  // namespace

ScaledClock::ScaledClock(double factor)
    : factor_(factor), start_(std::chrono::steady_clock::now()) {}

Clock::Duration ScaledClock::now() {
  const RealSeconds elapsed = std::chrono::steady_clock::now() - start_;
  return std::chrono::duration_cast<Duration>(elapsed * factor_);
}

void ScaledClock::sleepFor(Duration time) {
  std::this_thread::sleep_for(realTime(time));
}

Clock::Duration ScaledClock::realTime(Duration time) {
  if (factor_ <= 0) {
    return Duration::zero();
  }
  const double nanoseconds = static_cast<double>(time.count()) / factor_;
  if (nanoseconds >= static_cast<double>(Duration::max().count())) {
    return Duration::max();
  }
  if (nanoseconds <= static_cast<double>(Duration::min().count())) {
    return Duration::min();
  }
  return Duration(static_cast<Duration::rep>(nanoseconds));
}

}  // namespace halvarin::platform
