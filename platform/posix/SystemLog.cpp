#include "platform/SystemLog.h"

#include <syslog.h>

#include <cstdio>
#include <string>
#include <utility>

#include "base/Mutex.h"

namespace halvarin::platform {

namespace {

void writeToSystem(std::string_view line) {
  const std::string text(line);
  std::fprintf(stderr, "%s\n", text.c_str());
  syslog(LOG_USER | LOG_NOTICE, "%s", text.c_str());
}

struct Log {
  Mutex mutex;
  SystemLogSink sink HALVARIN_GUARDED_BY(mutex) = &writeToSystem;
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
    sink = &writeToSystem;
  }
  std::swap(log.sink, sink);  // the old one is destroyed by the caller, outside the lock
}

}  // namespace halvarin::platform
