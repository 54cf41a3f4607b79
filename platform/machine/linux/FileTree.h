#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// The few things that are done with the kernel's files: the seam at which tests put a driver of
// their own. Paths are absolute and begin at the tree's root ("/sys/class/hwmon"). Failures are the
// system's error numbers; 0 is success. Any thread.

namespace halvarin::platform {

/// What a file holds, or why it cannot be read.
struct FileContent {
  int error = 0;
  std::string bytes;

  friend bool operator==(const FileContent&, const FileContent&) = default;
};

/// The one file by which all processes say which key a driver shows, kept open by one of them. Not
/// thread-safe.
class CursorFile {
 public:
  virtual ~CursorFile() = default;

  /// Takes the lock that processes which know of each other hold while they use the cursor. Never
  /// waits: false when another has it. Not refused to whoever has it already.
  [[nodiscard]] virtual bool tryLock() = 0;
  virtual void unlock() = 0;

  [[nodiscard]] virtual int set(std::string_view text) = 0;

  /// What is known of the time since the last `set`.
  enum class Witness {
    alone,      // nobody has written since
    disturbed,  // somebody may have
    blind       // it cannot be told
  };
  [[nodiscard]] virtual Witness witness() = 0;
};

class FileTree {
 public:
  virtual ~FileTree() = default;

  /// The file's bytes, the first `most` of them at most. An error for whatever is no regular file.
  [[nodiscard]] virtual FileContent read(const std::string& path, std::size_t most) = 0;

  /// Writes into a file that is there: never makes one, never cuts one.
  [[nodiscard]] virtual int write(const std::string& path, std::string_view text) = 0;

  /// What `write` would give, without writing. EROFS when nobody may write the file, whoever asks.
  [[nodiscard]] virtual int mayWrite(const std::string& path) = 0;

  /// The names in a folder, sorted; none when it cannot be read.
  [[nodiscard]] virtual std::vector<std::string> list(const std::string& path) = 0;

  /// The path without links; "" for what is not there and for links that lead out of the tree.
  [[nodiscard]] virtual std::string resolve(const std::string& path) = 0;

  /// Opens a cursor; null, with the reason in `error`, when it cannot be written.
  [[nodiscard]] virtual std::unique_ptr<CursorFile> openCursor(const std::string& path,
                                                               int& error) = 0;
};

}  // namespace halvarin::platform
