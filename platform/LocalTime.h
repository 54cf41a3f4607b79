#pragma once

#include <chrono>

#include "base/Export.h"

// Date and time as people read them off the computer, for what people read: nothing is measured by
// them. Bodies: posix/LocalTime.cpp.

namespace halvarin::platform {

/// A moment in the Gregorian calendar and the computer's time zone, summer time included. The zone
/// is the one that the computer had when this process first asked.
struct LocalTime {
  int year = 0;   // all four digits
  int month = 0;  // 1 to 12
  int day = 0;    // 1 to 31
  int hour = 0;   // 0 to 23
  int minute = 0;
  int second = 0;
  int millisecond = 0;  // begun milliseconds do not count
};

/// The present moment. Any thread.
[[nodiscard]] HALVARIN_EXPORT LocalTime localTime();

/// Any moment of the system's clock. Any thread.
[[nodiscard]] HALVARIN_EXPORT LocalTime localTime(std::chrono::system_clock::time_point moment);

}  // namespace halvarin::platform
