#include "platform/posix/Deadline.h"

namespace halvarin::platform {

RealMoment deadlineAfter(Clock::Duration time) {
  const Clock::Duration realTime = currentClock()->realTime(time);
  const RealMoment now = std::chrono::steady_clock::now();
  return realTime < RealMoment::max() - now ? now + realTime : RealMoment::max();
}

}  // namespace halvarin::platform
