#include "platform/machine/linux/DiskCursor.h"

#include <sys/file.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace halvarin::platform {

namespace {

/// A queue of the notices of writes to a file; below 0 when there is none to be had.
int noticesOf(const std::string& path) {
  const int notices = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (notices >= 0 && inotify_add_watch(notices, path.c_str(), IN_MODIFY) < 0) {
    close(notices);
    return -1;
  }
  return notices;
}

}  // namespace

std::unique_ptr<DiskCursor> DiskCursor::open(const std::string& path, int& error) {
  std::unique_ptr<DiskCursor> cursor(new DiskCursor(path));
  error = cursor->file_.error();
  return error == 0 ? std::move(cursor) : nullptr;
}

DiskCursor::DiskCursor(const std::string& path)
    : file_(path, OpenFile::Use::readAndWrite),
      notices_(file_.error() == 0 ? noticesOf(path) : -1) {}

DiskCursor::~DiskCursor() {
  if (notices_ >= 0) {
    close(notices_);
  }
}

bool DiskCursor::tryLock() {
  return flock(file_.descriptor(), LOCK_EX | LOCK_NB) == 0;
}

void DiskCursor::unlock() {
  flock(file_.descriptor(), LOCK_UN);
}

int DiskCursor::set(std::string_view text) {
  static_cast<void>(takeNotices());
  const ssize_t written = pwrite(file_.descriptor(), text.data(), text.size(), 0);
  if (written < 0) {
    return errno;
  }
  // Another's write may share this notice with ours. It was done by now, so it shows in what is
  // read from here on; what comes later gives a notice of its own.
  isBlind_ = !takeNotices();
  return static_cast<std::size_t>(written) == text.size() ? 0 : EIO;
}

CursorFile::Witness DiskCursor::witness() {
  if (isBlind_) {
    return Witness::blind;  // not even our own write was told of
  }
  return takeNotices() ? Witness::disturbed : Witness::alone;
}

/// Empties the queue; whether there was anything in it.
bool DiskCursor::takeNotices() const {
  bool hadAny = false;
  alignas(inotify_event) std::array<char, 4096> notices{};
  while (notices_ >= 0 && read(notices_, notices.data(), notices.size()) > 0) {
    hadAny = true;
  }
  return hadAny;
}

}  // namespace halvarin::platform
