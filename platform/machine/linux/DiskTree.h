#pragma once

#include <string>
#include <string_view>

#include "platform/machine/linux/FileTree.h"

namespace halvarin::platform {

/// The computer's own files, under a root folder. Whatever lies at a path, no operation waits for
/// it: of pipes, devices and folders nothing is read and nothing written.
class DiskTree : public FileTree {
 public:
  /// "" for the computer's own root.
  explicit DiskTree(std::string root = "");

  [[nodiscard]] FileContent read(const std::string& path, std::size_t most) override;
  [[nodiscard]] int write(const std::string& path, std::string_view text) override;
  [[nodiscard]] int mayWrite(const std::string& path) override;
  [[nodiscard]] std::vector<std::string> list(const std::string& path) override;
  [[nodiscard]] std::string resolve(const std::string& path) override;
  [[nodiscard]] std::unique_ptr<CursorFile> openCursor(const std::string& path,
                                                       int& error) override;

 private:
  const std::string root_;
};

}  // namespace halvarin::platform
