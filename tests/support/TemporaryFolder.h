#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace halvarin::test {

/// A new folder that goes away with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = ::testing::TempDir() + "/halvarin-XXXXXX";
    path_ = ::mkdtemp(name.data()) == nullptr ? "" : name;
    EXPECT_FALSE(path_.empty()) << "no temporary folder in " << ::testing::TempDir();
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  /// A file's path as text.
  [[nodiscard]] std::string file(const std::string& name) const { return (path_ / name).string(); }

  void write(const std::string& name, const std::string& text) const {
    const std::filesystem::path file = path_ / name;
    std::filesystem::create_directories(file.parent_path());
    std::filesystem::remove(file);  // some file systems wait for the disk when a file is cut
    std::ofstream(file, std::ios::binary) << text;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace halvarin::test
