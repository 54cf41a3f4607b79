#include "platform/SystemLog.h"

#include <utility>

#include "base/Mutex.h"
#include "platform/posix/SystemLogLine.h"

namespace halvarin::platform {

namespace {

struct Log {
  Mutex mutex;
  SystemLogSink sink HALVARIN_GUARDED_BY(mutex) = &writeSystemLogLine;
};

Log& theLog() {
  static auto* const log = new Log;  // background passes may log after main has ended
  return *log;
}

}  // namespace

void systemLog(std::string_view line) {
  Log& log = theLog();
  const MutexLock lock(log.mutex);
  log.sink(line);
}

void setSystemLogSink(SystemLogSink sink) {
  Log& log = theLog();
  const MutexLock lock(log.mutex);
  if (!sink) {
    sink = &writeSystemLogLine;
  }
  std::swap(log.sink, sink);  // the old one is destroyed by the caller, outside the lock
}

}  // namespace halvarin::platform
