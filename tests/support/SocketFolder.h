#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace halvarin::test {

/// A new folder for sockets, gone afterwards. Its name is short, for a socket's path has at most
/// 107 bytes.
class SocketFolder {
 public:
  SocketFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "hs-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("no folder for sockets: " + pattern);
    }
    path_ = pattern;
  }
  ~SocketFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  SocketFolder(const SocketFolder&) = delete;
  SocketFolder& operator=(const SocketFolder&) = delete;

  [[nodiscard]] std::string path(const std::string& name = "s") const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

}  // namespace halvarin::test
