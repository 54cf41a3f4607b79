#include "platform/LocalTime.h"

#include <ctime>

namespace halvarin::platform {

LocalTime localTime() {
  return localTime(std::chrono::system_clock::now());
}

LocalTime localTime(std::chrono::system_clock::time_point moment) {
  using std::chrono::floor;
  using std::chrono::milliseconds;
  using std::chrono::seconds;
  // Down in both steps: before 1970 the counts are negative and milliseconds must not be.
  const auto second = floor<seconds>(moment);
  const auto rest = floor<milliseconds>(moment - second);
  const auto count = static_cast<std::time_t>(second.time_since_epoch().count());
  std::tm parts{};
  localtime_r(&count, &parts);  // fails for no moment that the clock can hold
  return {parts.tm_year + 1900,
          parts.tm_mon + 1,
          parts.tm_mday,
          parts.tm_hour,
          parts.tm_min,
          parts.tm_sec,
          static_cast<int>(rest.count())};
}

}  // namespace halvarin::platform
