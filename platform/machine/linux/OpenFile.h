#pragma once

#include <string>

namespace halvarin::platform {

/// A regular file, opened without waiting for anything and closed with the object. Links are
/// followed on the way to it, but it is none itself.
class OpenFile {
 public:
  enum class Use { read, write, readAndWrite };

  /// Opens a file that is there; `error` says why it could not be.
  OpenFile(const std::string& path, Use use);
  ~OpenFile();
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  /// 0 when the file is open. EROFS when it was to be written and nobody may.
  [[nodiscard]] int error() const { return error_; }
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  void check(Use use);

  int descriptor_;
  int error_ = 0;
};

}  // namespace halvarin::platform
