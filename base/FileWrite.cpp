#include "base/FileWrite.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>

namespace halvarin {

namespace {

/// Makes a system call until no signal comes between.
template <typename Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

/// A plain file that is written to, at its end.
class PlainFile {
 public:
  explicit PlainFile(const std::string& path) : descriptor_(opened(path)) {}
  ~PlainFile() {
    if (descriptor_ >= 0) {
      ::close(descriptor_);
    }
  }
  PlainFile(const PlainFile&) = delete;
  PlainFile& operator=(const PlainFile&) = delete;

  [[nodiscard]] bool isOpen() const {
    struct stat status {};
    return descriptor_ >= 0 && ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
  }
  [[nodiscard]] bool makeEmpty() const {
    return uninterrupted([&] { return ::ftruncate(descriptor_, 0); }) == 0;
  }
  /// How many of the bytes one write took; negative when it failed.
  [[nodiscard]] ssize_t write(std::string_view bytes) const {
    return uninterrupted([&] { return ::write(descriptor_, bytes.data(), bytes.size()); });
  }

 private:
  static int opened(const std::string& path) {
    if (path.find('\0') != std::string::npos) {
      return -1;  // the system would take what stands before the zero for the path
    }
    // Not waiting matters for a pipe that nobody reads.
    constexpr int kFlags =
        O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    constexpr mode_t kOwnerWritesAllRead = 0644;
    return uninterrupted([&] { return ::open(path.c_str(), kFlags, kOwnerWritesAllRead); });
  }

  int descriptor_;
};

}  // namespace

bool appendToFile(const std::string& path, std::string_view bytes) noexcept {
  const PlainFile file(path);
  return file.isOpen() && file.write(bytes) == static_cast<ssize_t>(bytes.size());
}

bool replaceFile(const std::string& path, std::string_view bytes) noexcept {
  const PlainFile file(path);
  if (!file.isOpen() || !file.makeEmpty()) {
    return false;
  }
  while (!bytes.empty()) {
    const ssize_t written = file.write(bytes);
    if (written <= 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace halvarin
