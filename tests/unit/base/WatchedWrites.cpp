#include "tests/unit/base/WatchedWrites.h"

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "base/Export.h"

namespace {

std::atomic<int> writes{0};
std::atomic<int> interruptionsLeft{0};

using Write = ssize_t (*)(int, const void*, size_t);

}  // namespace

// Stands before the system's own.
extern "C" HALVARIN_EXPORT ssize_t write(int file, const void* bytes, size_t count) {
  ++writes;
  if (interruptionsLeft > 0) {
    --interruptionsLeft;
    errno = EINTR;
    return -1;
  }
  static const auto systems = reinterpret_cast<Write>(dlsym(RTLD_NEXT, "write"));
  return systems(file, bytes, count);
}

namespace halvarin::test {

WatchedWrites::WatchedWrites(int interruptions) {
  writes = 0;
  interruptionsLeft = interruptions;
}

WatchedWrites::~WatchedWrites() {
  interruptionsLeft = 0;
}

int WatchedWrites::count() const {
  return writes;
}

}  // namespace halvarin::test
