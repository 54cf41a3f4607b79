#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace halvarin::test {

// The undefined-behaviour sanitizer, which runs with that of addresses, looks into an object
// through a pipe of its own, and takes the object for broken where it cannot open one.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool kFilesCanBeLimited = false;
#else
inline constexpr bool kFilesCanBeLimited = true;
#endif

/// While one lives, this process can open so many files more: the descriptors below the first free
/// one are in use.
class FileLimit {
 public:
  explicit FileLimit(rlim_t more) {
    const int next = open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_GE(next, 0);
    close(next);
    EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
    const rlimit limit{static_cast<rlim_t>(next) + more, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  }
  ~FileLimit() { setrlimit(RLIMIT_NOFILE, &before_); }
  FileLimit(const FileLimit&) = delete;
  FileLimit& operator=(const FileLimit&) = delete;

 private:
  rlimit before_{};
};

}  // namespace halvarin::test
