#pragma once

#include <stdlib.h>
#include <time.h>

#include <string>

namespace halvarin::test {

/// While one lives, the process is in another time zone, by a rule of TZ: "XST-5:30" is five and a
/// half hours ahead. For processes with one thread.
class TimeZone {
 public:
  explicit TimeZone(const char* rule) {
    const char* before = getenv("TZ");
    had_ = before != nullptr;
    before_ = had_ ? before : "";
    setenv("TZ", rule, 1);
    tzset();
  }
  ~TimeZone() {
    if (had_) {
      setenv("TZ", before_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;

 private:
  bool had_ = false;
  std::string before_;
};

}  // namespace halvarin::test
