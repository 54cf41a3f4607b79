#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Mutex.h"
#include "platform/SystemLog.h"

namespace halvarin::test {

/// Takes the system log's lines for the life of the object.
class CapturedLog {
 public:
  CapturedLog() {
    platform::setSystemLogSink([this](std::string_view line) {
      const MutexLock lock(mutex_);
      lines_.emplace_back(line);
    });
  }
  ~CapturedLog() { platform::setSystemLogSink(nullptr); }
  CapturedLog(const CapturedLog&) = delete;
  CapturedLog& operator=(const CapturedLog&) = delete;

  [[nodiscard]] std::vector<std::string> lines() {
    const MutexLock lock(mutex_);
    return lines_;
  }

 private:
  Mutex mutex_;
  std::vector<std::string> lines_ HALVARIN_GUARDED_BY(mutex_);
};

}  // namespace halvarin::test
