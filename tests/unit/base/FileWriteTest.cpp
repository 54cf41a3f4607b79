#include "base/FileWrite.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>

#include "base/FileBytes.h"
#include "base/ScopeGuard.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/unit/base/WatchedWrites.h"

namespace halvarin::test {
namespace {

namespace fs = std::filesystem;

/// Both ways to write, for what they have in common.
struct Way {
  const char* name;
  bool (*write)(const std::string& path, std::string_view bytes) noexcept;
};

class EveryWayToWrite : public testing::TestWithParam<Way> {
 protected:
  bool write(const std::string& name, std::string_view bytes = "new") const {
    return GetParam().write(folder_.file(name), bytes);
  }
  TemporaryFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(FileWrite, EveryWayToWrite,
                         testing::Values(Way{"Append", &appendToFile},
                                         Way{"Replace", &replaceFile}),
                         [](const auto& way) { return way.param.name; });

TEST_P(EveryWayToWrite, MakesAFileThatItsOwnerWritesAndAllRead) {
  const mode_t before = umask(022);
  EXPECT_TRUE(write("file", std::string("a\0b\xFF\n", 5)));
  umask(before);
  EXPECT_EQ(fileBytes(folder_.file("file")), std::string("a\0b\xFF\n", 5));
  EXPECT_EQ(fs::status(folder_.file("file")).permissions(), fs::perms(0644));
}

TEST_P(EveryWayToWrite, MakesAnEmptyFileOfNoBytes) {
  EXPECT_TRUE(write("file", ""));
  EXPECT_EQ(fileBytes(folder_.file("file")), "");
}

TEST_P(EveryWayToWrite, MakesNoFolder) {
  EXPECT_FALSE(write("missing/file"));
  EXPECT_TRUE(fs::is_empty(folder_.path()));
}

TEST_P(EveryWayToWrite, DoesNotFollowALinkInThePlaceOfTheFile) {
  folder_.write("elsewhere", "old");
  fs::create_symlink(folder_.file("elsewhere"), folder_.file("link"));
  fs::create_symlink(folder_.file("nowhere"), folder_.file("loose"));
  EXPECT_FALSE(write("link"));
  EXPECT_FALSE(write("loose"));
  EXPECT_EQ(fileBytes(folder_.file("elsewhere")), "old");
  EXPECT_FALSE(fs::exists(folder_.file("nowhere")));
}

TEST_P(EveryWayToWrite, RefusesAPipeThatNobodyReadsWithoutWaiting) {
  ASSERT_EQ(mkfifo(folder_.file("pipe").c_str(), 0600), 0);
  EXPECT_FALSE(write("pipe"));
}

TEST_P(EveryWayToWrite, WritesNothingToAPipeThatIsRead) {
  ASSERT_EQ(mkfifo(folder_.file("pipe").c_str(), 0600), 0);
  const int reader = open(folder_.file("pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(reader, 0);
  const ScopeGuard closing([&] { close(reader); });
  // Another writer, so that the end of the refused one is not the end of the pipe.
  const int writer = open(folder_.file("pipe").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  const ScopeGuard closingToo([&] { close(writer); });
  EXPECT_FALSE(write("pipe"));
  std::array<char, 8> got{};
  errno = 0;
  EXPECT_EQ(read(reader, got.data(), got.size()), -1);
  EXPECT_EQ(errno, EAGAIN);
}

TEST_P(EveryWayToWrite, RefusesDevicesAndFolders) {
  for (const char* path : {"/dev/null", "/dev/full", "/dev", "/"}) {
    EXPECT_FALSE(GetParam().write(path, "new")) << path;
    EXPECT_FALSE(GetParam().write(path, "")) << path;
  }
}

TEST_P(EveryWayToWrite, TakesNoPathWithAZeroByteInside) {
  folder_.write("file", "old");
  EXPECT_FALSE(write(std::string("file\0.log", 9)));
  EXPECT_FALSE(write(std::string("file\0", 5)));
  EXPECT_FALSE(GetParam().write("", "new"));
  EXPECT_EQ(fileBytes(folder_.file("file")), "old");
}

TEST_P(EveryWayToWrite, BeginsAgainWhenASignalComesBeforeTheFirstByte) {
  const WatchedWrites writes(3);
  EXPECT_TRUE(write("file"));
  EXPECT_EQ(writes.count(), 4);
  EXPECT_EQ(fileBytes(folder_.file("file")), "new");
}

TEST_P(EveryWayToWrite, SaysWhenTheDiskIsFull) {
  const FileSizeLimit full(0);
  EXPECT_FALSE(write("file"));
  EXPECT_EQ(fileBytes(folder_.file("file")), "");
}

TEST_P(EveryWayToWrite, LeavesNoFileOpen) {
  const auto openFiles = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  if (!fs::exists("/proc/self/fd")) {
    GTEST_SKIP() << "this system does not show a process's open files";
  }
  const auto before = openFiles();
  EXPECT_TRUE(write("file"));
  EXPECT_FALSE(GetParam().write("/dev/null", "new"));
  EXPECT_FALSE(GetParam().write("/", "new"));
  EXPECT_EQ(openFiles(), before);
}

TEST(AppendToFile, PutsTheBytesBehindWhatIsThere) {
  const TemporaryFolder folder;
  EXPECT_TRUE(appendToFile(folder.file("file"), "one\n"));
  EXPECT_TRUE(appendToFile(folder.file("file"), ""));
  EXPECT_TRUE(appendToFile(folder.file("file"), "two"));
  EXPECT_TRUE(appendToFile(folder.file("file"), "\nthree\n"));
  EXPECT_EQ(fileBytes(folder.file("file")), "one\ntwo\nthree\n");
}

TEST(AppendToFile, WritesOnceHoweverMuchThereIs) {
  const TemporaryFolder folder;
  const std::string bytes(3'000'000, 'x');
  const WatchedWrites writes;
  EXPECT_TRUE(appendToFile(folder.file("file"), bytes));
  EXPECT_EQ(writes.count(), 1);
  EXPECT_EQ(fileBytes(folder.file("file")), bytes);
}

TEST(AppendToFile, DoesNotGoOnAfterAShortWrite) {
  const TemporaryFolder folder;
  folder.write("file", "12345678");
  const FileSizeLimit almostFull(10);
  const WatchedWrites writes;
  EXPECT_FALSE(appendToFile(folder.file("file"), "abcdef"));
  EXPECT_EQ(writes.count(), 1);
  EXPECT_EQ(fileBytes(folder.file("file")), "12345678ab");
}

TEST(ReplaceFile, LeavesNothingOfALongerFile) {
  const TemporaryFolder folder;
  folder.write("file", "something long");
  EXPECT_TRUE(replaceFile(folder.file("file"), "short"));
  EXPECT_EQ(fileBytes(folder.file("file")), "short");
  EXPECT_TRUE(replaceFile(folder.file("file"), ""));
  EXPECT_EQ(fileBytes(folder.file("file")), "");
}

TEST(ReplaceFile, KeepsWhatFittedOnTheDisk) {
  const TemporaryFolder folder;
  folder.write("file", "12345678");
  const FileSizeLimit almostFull(4);
  EXPECT_FALSE(replaceFile(folder.file("file"), "abcdef"));
  EXPECT_EQ(fileBytes(folder.file("file")), "abcd");
}

}  // namespace
}  // namespace halvarin::test
