#include "platform/machine/linux/DiskTree.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/machine/linux/DiskCursor.h"
#include "platform/machine/linux/OpenFile.h"

namespace halvarin::platform {

namespace {

namespace fs = std::filesystem;

/// More names than any of the kernel's folders holds; a folder with more is none of the kernel's.
constexpr std::size_t kMostNames = 16384;

}  // namespace

DiskTree::DiskTree(std::string root) : root_(std::move(root)) {}

FileContent DiskTree::read(const std::string& path, std::size_t most) {
  const OpenFile file(root_ + path, OpenFile::Use::read);
  if (file.error() != 0) {
    return {file.error(), {}};
  }
  std::string bytes(most, '\0');
  std::size_t size = 0;
  while (size < most) {
    const ssize_t got = ::read(file.descriptor(), bytes.data() + size, most - size);
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0) {
      return {errno, {}};
    }
    if (got == 0) {
      break;
    }
    size += static_cast<std::size_t>(got);
  }
  bytes.resize(size);
  return {0, std::move(bytes)};
}

int DiskTree::write(const std::string& path, std::string_view text) {
  const OpenFile file(root_ + path, OpenFile::Use::write);
  if (file.error() != 0) {
    return file.error();
  }
  // Each write is a command of its own to the kernel: all at once or not at all.
  ssize_t written = -1;
  do {
    written = ::write(file.descriptor(), text.data(), text.size());
  } while (written < 0 && errno == EINTR);
  if (written < 0) {
    return errno;
  }
  return static_cast<std::size_t>(written) == text.size() ? 0 : EIO;
}

int DiskTree::mayWrite(const std::string& path) {
  return OpenFile(root_ + path, OpenFile::Use::write).error();
}

std::vector<std::string> DiskTree::list(const std::string& path) {
  std::vector<std::string> names;
  std::error_code error;
  fs::directory_iterator entry(root_ + path, error);
  for (; !error && entry != fs::directory_iterator() && names.size() < kMostNames;
       entry.increment(error)) {
    names.push_back(entry->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string DiskTree::resolve(const std::string& path) {
  std::error_code error;
  const std::string top = fs::canonical(root_ + "/", error).string();
  if (error) {
    return "";
  }
  const std::string found = fs::canonical(root_ + path, error).string();
  const std::string root = top == "/" ? "" : top;
  const bool isInside = found.compare(0, root.size() + 1, root + "/") == 0;
  return !error && isInside ? found.substr(root.size()) : "";
}

std::unique_ptr<CursorFile> DiskTree::openCursor(const std::string& path, int& error) {
  return DiskCursor::open(root_ + path, error);
}

}  // namespace halvarin::platform
