#include "platform/machine/linux/DiskTree.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/SharedData.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {
namespace {

using platform::DiskTree;
using platform::FileContent;

TEST(DiskTree, ReadsAFileUnderItsRootUpToTheLimit) {
  const TemporaryFolder folder;
  folder.write("sys/key", std::string("\0\xFF\n 1", 5));
  DiskTree tree(folder.path().string());
  EXPECT_EQ(tree.read("/sys/key", 100), (FileContent{0, std::string("\0\xFF\n 1", 5)}));
  EXPECT_EQ(tree.read("/sys/key", 2), (FileContent{0, std::string("\0\xFF", 2)}));
  EXPECT_EQ(tree.read("/sys/key", 0), (FileContent{0, ""}));
}

TEST(DiskTree, TakesNoMoreOfAHugeFileThanItIsAskedFor) {
  const TemporaryFolder folder;
  folder.write("huge", "x");
  std::filesystem::resize_file(folder.path() / "huge", std::uintmax_t{1} << 40U);
  EXPECT_EQ(DiskTree(folder.path().string()).read("/huge", 4096).bytes.size(), 4096U);
}

TEST(DiskTree, ReadsAnEmptyFileAsEmpty) {
  const TemporaryFolder folder;
  folder.write("empty", "");
  EXPECT_EQ(DiskTree(folder.path().string()).read("/empty", 10), (FileContent{0, ""}));
}

TEST(DiskTree, SaysWhyAFileCannotBeRead) {
  const TemporaryFolder folder;
  ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0666), 0);
  DiskTree tree(folder.path().string());
  EXPECT_EQ(tree.read("/missing", 10).error, ENOENT);
  EXPECT_EQ(tree.read("/", 10).error, EISDIR);
  EXPECT_EQ(tree.read("/pipe", 10).error, EINVAL);
}

TEST(DiskTree, WritesIntoAFileThatIsThere) {
  const TemporaryFolder folder;
  folder.write("fan1_output", "1200\n");
  DiskTree tree(folder.path().string());
  EXPECT_EQ(tree.mayWrite("/fan1_output"), 0);
  EXPECT_EQ(fileText(folder.path() / "fan1_output"), "1200\n");
  EXPECT_EQ(tree.write("/fan1_output", "2500"), 0);
  EXPECT_EQ(fileText(folder.path() / "fan1_output"), "2500\n");
}

TEST(DiskTree, NeverMakesAFile) {
  const TemporaryFolder folder;
  DiskTree tree(folder.path().string());
  EXPECT_EQ(tree.write("/new", "1"), ENOENT);
  EXPECT_EQ(tree.mayWrite("/new"), ENOENT);
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "new"));
}

TEST(DiskTree, ListsNamesInOrder) {
  const TemporaryFolder folder;
  folder.write("hwmon/b", "");
  folder.write("hwmon/a", "");
  folder.write("hwmon/\xFF", "");
  DiskTree tree(folder.path().string());
  EXPECT_EQ(tree.list("/hwmon"), (std::vector<std::string>{"a", "b", "\xFF"}));
  EXPECT_TRUE(tree.list("/missing").empty());
  EXPECT_TRUE(tree.list("/hwmon/a").empty());
}

TEST(DiskTree, ResolvesLinksInsideTheTree) {
  const TemporaryFolder folder;
  folder.write("sys/devices/smc/name", "x");
  std::filesystem::create_directories(folder.path() / "sys/class");
  ASSERT_EQ(symlink("../devices/smc", folder.file("sys/class/hwmon0").c_str()), 0);
  ASSERT_EQ(symlink("/etc", folder.file("sys/class/outside").c_str()), 0);
  ASSERT_EQ(symlink("loop", folder.file("sys/class/loop").c_str()), 0);
  DiskTree tree(folder.path().string());
  EXPECT_EQ(tree.resolve("/sys/class/hwmon0"), "/sys/devices/smc");
  EXPECT_EQ(tree.read("/sys/class/hwmon0/name", 10).bytes, "x");
  EXPECT_EQ(tree.resolve("/sys/class/outside"), "");
  EXPECT_EQ(tree.resolve("/sys/class/loop"), "");
  EXPECT_EQ(tree.resolve("/sys/class/missing"), "");
}

TEST(DiskTree, IsTheComputersOwnWithoutARoot) {
  EXPECT_EQ(DiskTree().resolve("/proc/self/../self/status"),
            "/proc/" + std::to_string(getpid()) + "/status");
  EXPECT_EQ(DiskTree("/nowhere").resolve("/"), "");
}

TEST(DiskTree, OpensACursorThatCanBeWritten) {
  const TemporaryFolder folder;
  folder.write("key_at_index", "0\n");
  DiskTree tree(folder.path().string());
  int error = -1;
  EXPECT_NE(tree.openCursor("/key_at_index", error), nullptr);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(tree.openCursor("/missing", error), nullptr);
  EXPECT_EQ(error, ENOENT);
}

}  // namespace
}  // namespace halvarin::test
