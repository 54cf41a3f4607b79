#include "host/Terminal.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace halvarin::host {

bool mayColour() {
  const char* noColour = std::getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) == 1 && (noColour == nullptr || *noColour == '\0');
}

void occupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) == -1) {
      // The lowest free number is this one, and what can only be read from cannot be written to.
      static_cast<void>(open("/dev/null", O_RDONLY));
    }
  }
}

}  // namespace halvarin::host
