#pragma once

#include <atomic>

#include "platform/Clock.h"

namespace halvarin::test {

/// Time that passes only by waiting: every sleep and every timed wait moves it on by its length and
/// comes back at once. For one thread that waits; each further one would make it pass faster.
class SteppingClock : public platform::Clock {
 public:
  [[nodiscard]] Duration now() override { return now_; }
  void sleepFor(Duration time) override { now_ = now_.load() + time; }
  [[nodiscard]] Duration realTime(Duration time) override {
    sleepFor(time);
    return Duration::zero();
  }

 private:
  std::atomic<Duration> now_{Duration::zero()};
};

}  // namespace halvarin::test
