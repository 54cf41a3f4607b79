#include "base/FileBytes.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace halvarin::test {
namespace {

namespace fs = std::filesystem;

TEST(FileBytes, HoldsEveryByteOfTheFile) {
  const fs::path path = fs::temp_directory_path() / "halvarin-file-bytes-test";
  for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 200000U}) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
      bytes[i] = static_cast<char>(i * 7 % 251);
    }
    std::ofstream(path, std::ios::binary) << bytes;
    EXPECT_EQ(fileBytes(path.string()), bytes) << size;
  }
  fs::remove(path);
}

TEST(FileBytes, MissingFileAndFolderAreAbsentAndSayWhy) {
  EXPECT_FALSE(fileBytes("/no/such/file").has_value());
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(fileBytes("/").has_value());
  EXPECT_EQ(errno, EISDIR);
}

TEST(FileBytes, FileThatOpensAndCannotBeReadIsAbsent) {
  // The start of a process's memory is nobody's: the file opens and every read of it fails.
  if (!fs::exists("/proc/self/mem")) {
    GTEST_SKIP() << "no file here opens and cannot be read";
  }
  EXPECT_FALSE(fileBytes("/proc/self/mem").has_value());
  EXPECT_EQ(errno, EIO);
}

}  // namespace
}  // namespace halvarin::test
