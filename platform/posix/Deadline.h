#pragma once

#include <chrono>

#include "platform/Clock.h"

namespace halvarin::platform {

using RealMoment = std::chrono::steady_clock::time_point;

/// When a wait of `time` on the current clock that begins now is over; the last moment there is for
/// a time too long to be added.
[[nodiscard]] RealMoment deadlineAfter(Clock::Duration time);

}  // namespace halvarin::platform
