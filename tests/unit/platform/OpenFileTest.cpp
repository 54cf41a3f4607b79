#include "platform/machine/linux/OpenFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {
namespace {

using platform::OpenFile;
using Use = OpenFile::Use;

TEST(OpenFile, OpensARegularFile) {
  const TemporaryFolder folder;
  folder.write("name", "applesmc\n");
  for (const Use use : {Use::read, Use::write, Use::readAndWrite}) {
    const OpenFile file(folder.file("name"), use);
    EXPECT_EQ(file.error(), 0);
    EXPECT_GE(file.descriptor(), 0);
  }
}

TEST(OpenFile, OpensNothingElseAndWaitsForNothing) {
  const TemporaryFolder folder;
  folder.write("file", "");
  ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0666), 0);
  ASSERT_EQ(symlink("file", folder.file("link").c_str()), 0);
  EXPECT_EQ(OpenFile(folder.file("missing"), Use::read).error(), ENOENT);
  EXPECT_EQ(OpenFile(folder.file("file/below"), Use::read).error(), ENOTDIR);
  EXPECT_EQ(OpenFile(folder.path().string(), Use::read).error(), EISDIR);
  EXPECT_EQ(OpenFile(folder.file("pipe"), Use::read).error(), EINVAL);
  EXPECT_EQ(OpenFile(folder.file("pipe"), Use::write).error(), ENXIO);
  EXPECT_EQ(OpenFile(folder.file("link"), Use::write).error(), ELOOP);
  EXPECT_EQ(OpenFile("/dev/null", Use::write).error(), EINVAL);
  EXPECT_EQ(OpenFile("", Use::read).error(), ENOENT);
}

TEST(OpenFile, SaysWhatNobodyMayWrite) {
  const TemporaryFolder folder;
  folder.write("fan1_input", "1200\n");
  std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
  ASSERT_EQ(chmod(folder.file("fan1_input").c_str(), 0444), 0);
  EXPECT_EQ(OpenFile(folder.file("fan1_input"), Use::write).error(), EROFS);
  EXPECT_EQ(OpenFile(folder.file("fan1_input"), Use::read).error(), 0);
}

TEST(OpenFile, SaysWhatThisUserMayNotWrite) {
  const TemporaryFolder folder;
  folder.write("files/fan1_output", "1200\n");
  ASSERT_EQ(chmod(folder.file("files/fan1_output").c_str(), 0644), 0);
  std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
  if (geteuid() == 0) {
    ASSERT_EQ(seteuid(65534), 0);
    EXPECT_EQ(OpenFile(folder.file("files/fan1_output"), Use::write).error(), EACCES);
    EXPECT_EQ(OpenFile(folder.file("files/fan1_output"), Use::read).error(), 0);
    ASSERT_EQ(seteuid(0), 0);
    return;
  }
  ASSERT_EQ(chmod(folder.file("files/fan1_output").c_str(), 0464), 0);  // others might
  EXPECT_EQ(OpenFile(folder.file("files/fan1_output"), Use::write).error(), EACCES);
}

}  // namespace
}  // namespace halvarin::test
