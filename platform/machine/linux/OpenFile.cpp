#include "platform/machine/linux/OpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace halvarin::platform {

namespace {

int accessFor(OpenFile::Use use) {
  switch (use) {
    case OpenFile::Use::read:
      return O_RDONLY;
    case OpenFile::Use::write:
      return O_WRONLY;
    case OpenFile::Use::readAndWrite:
      break;
  }
  return O_RDWR;
}

constexpr mode_t kAnyoneWrites = S_IWUSR | S_IWGRP | S_IWOTH;

bool nobodyMayWrite(const std::string& path) {
  struct stat state {};
  return stat(path.c_str(), &state) == 0 && (state.st_mode & kAnyoneWrites) == 0;
}

}  // namespace

OpenFile::OpenFile(const std::string& path, Use use)
    : descriptor_(open(path.c_str(), accessFor(use) | O_CLOEXEC | O_NOCTTY | O_NOFOLLOW |
                                         O_NONBLOCK)) {  // a pipe must not keep us
  if (descriptor_ < 0) {
    error_ = errno;
    // The kernel refuses its own files to everybody in the same words.
    const bool isRefused = use != Use::read && error_ == EACCES;
    error_ = isRefused && nobodyMayWrite(path) ? EROFS : error_;
    return;
  }
  check(use);
}

OpenFile::~OpenFile() {
  if (descriptor_ >= 0) {
    close(descriptor_);
  }
}

void OpenFile::check(Use use) {
  struct stat state {};
  if (fstat(descriptor_, &state) != 0) {
    error_ = errno;
  } else if (!S_ISREG(state.st_mode)) {
    error_ = S_ISDIR(state.st_mode) ? EISDIR : EINVAL;
  } else if (use != Use::read && (state.st_mode & kAnyoneWrites) == 0) {
    error_ = EROFS;  // the superuser gets past the mode of ordinary files, but it means the same
  }
}

}  // namespace halvarin::platform
