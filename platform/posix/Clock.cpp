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
  if (factor_ > 0) {
    std::this_thread::sleep_for(RealSeconds(time) / factor_);
  }
}

}  // namespace halvarin::platform
