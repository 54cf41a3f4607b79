#include "tests/contract/ThreadShortage.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>

#include "base/Export.h"

namespace {

std::atomic<int> shortages{0};

using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

}  // namespace

// Stands before the system's own, which the test program's libraries would call otherwise.
extern "C" HALVARIN_EXPORT int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                              void* (*routine)(void*), void* argument) noexcept {
  if (shortages > 0) {
    return EAGAIN;
  }
  static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  return create(thread, attributes, routine, argument);
}

namespace halvarin::test {

ThreadShortage::ThreadShortage() {
  ++shortages;
}

ThreadShortage::~ThreadShortage() {
  --shortages;
}

}  // namespace halvarin::test
