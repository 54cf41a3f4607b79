#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/machine/linux/FileTree.h"

namespace halvarin::test {

/// Another tree's files, for those that do one thing otherwise.
class OtherTree : public platform::FileTree {
 public:
  explicit OtherTree(std::shared_ptr<platform::FileTree> behind) : behind_(std::move(behind)) {}

  [[nodiscard]] platform::FileContent read(const std::string& path, std::size_t most) override {
    return behind_->read(path, most);
  }
  [[nodiscard]] int write(const std::string& path, std::string_view text) override {
    return behind_->write(path, text);
  }
  [[nodiscard]] int mayWrite(const std::string& path) override { return behind_->mayWrite(path); }
  [[nodiscard]] std::vector<std::string> list(const std::string& path) override {
    return behind_->list(path);
  }
  [[nodiscard]] std::string resolve(const std::string& path) override {
    return behind_->resolve(path);
  }
  [[nodiscard]] std::unique_ptr<platform::CursorFile> openCursor(const std::string& path,
                                                                 int& error) override {
    return behind_->openCursor(path, error);
  }

 private:
  const std::shared_ptr<platform::FileTree> behind_;
};

}  // namespace halvarin::test
