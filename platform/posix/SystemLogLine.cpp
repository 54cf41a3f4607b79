#include "platform/posix/SystemLogLine.h"

#include <syslog.h>

#include <cstdio>
#include <string>

namespace halvarin::platform {

void writeSystemLogLine(std::string_view line) {
  const std::string text(line);
  std::fprintf(stderr, "%s\n", text.c_str());
  syslog(LOG_USER | LOG_NOTICE, "%s", text.c_str());
}

}  // namespace halvarin::platform
