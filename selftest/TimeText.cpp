#include "selftest/TimeText.h"

#include <algorithm>
#include <cstddef>

namespace halvarin {

namespace {

std::string digits(std::size_t width, int number) {
  const std::string text = std::to_string(number);
  return std::string(width - std::min(width, text.size()), '0') + text;
}

}  // namespace

std::string stampText(const platform::LocalTime& time) {
  return digits(4, time.year) + "-" + digits(2, time.month) + "-" + digits(2, time.day) + " " +
         digits(2, time.hour) + ":" + digits(2, time.minute) + ":" + digits(2, time.second) + "." +
         digits(3, time.millisecond);
}

std::string minuteText(const platform::LocalTime& time) {
  return digits(2, time.year % 100) + digits(2, time.month) + digits(2, time.day) +
         digits(2, time.hour) + digits(2, time.minute);
}

}  // namespace halvarin
