#include "platform/machine/linux/KeyDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tests/unit/platform/DriverBench.h"

namespace halvarin::test {
namespace {

using platform::fourBytes;
using platform::KeyDirectory;
using platform::KeyFacts;

platform::RecordedMachine fiveKeys() {
  return machineWith({key("BATP", "flag", {0}), key("FS! ", "ui16", {0, 0}),
                      key("TC0P", "sp78", {1, 2}), key("TC0p", "sp78", {1, 2})});
}

class Directory : public testing::Test {
 protected:
  const DriverBench bench_{fiveKeys()};
  const std::unique_ptr<platform::KeyCursor> cursor_ = bench_.newCursor();
  KeyDirectory directory_{bench_.driver(), std::string(ScriptedDriver::kDevice) + "/key_count",
                          *cursor_};
};

TEST_F(Directory, CountsAsTheDriverDoes) {
  std::uint32_t count = 0;
  ASSERT_EQ(directory_.count(count), 0);
  EXPECT_EQ(count, 5U);
}

TEST_F(Directory, FindsEveryKeyByItsName) {
  const char* const names[] = {"#KEY", "BATP", "FS! ", "TC0P", "TC0p"};
  for (std::uint32_t i = 0; i < 5; ++i) {
    KeyDirectory::Entry entry;
    ASSERT_EQ(directory_.find(fourBytes(names[i]), entry), 0) << names[i];
    EXPECT_EQ(entry.index, i);
    EXPECT_EQ(entry.facts.code, fourBytes(names[i]));
  }
}

TEST_F(Directory, FindsNoKeyThatIsNotThere) {
  KeyDirectory::Entry entry;
  for (const char* name : {"    ", "#KEX", "FS!!", "TC0Q", "zzzz", "\xFF\xFF\xFF\xFF"}) {
    EXPECT_EQ(directory_.find(fourBytes(name), entry), ENOKEY) << name;
  }
}

TEST_F(Directory, AsksForAKeyOnce) {
  KeyFacts facts;
  ASSERT_EQ(directory_.at(3, facts), 0);
  KeyDirectory::Entry entry;
  bench_.driver()->moveCursor(0);
  ASSERT_EQ(directory_.at(3, facts), 0);
  ASSERT_EQ(directory_.find(fourBytes("TC0P"), entry), 0);
  EXPECT_EQ(entry.index, 3U);
  EXPECT_EQ(bench_.driver()->read(bench_.cursorPath(), 10).bytes, "0\n");
}

TEST_F(Directory, HasNoIndexBehindTheLastKey) {
  KeyFacts facts;
  EXPECT_EQ(directory_.at(4, facts), 0);
  EXPECT_EQ(directory_.at(5, facts), EINVAL);
  EXPECT_EQ(directory_.at(0xFFFFFFFFU, facts), EINVAL);
}

TEST(KeyDirectory, TakesNoAbsurdCount) {
  const TemporaryFolder folder;
  const auto files = std::make_shared<platform::DiskTree>(folder.path().string());
  platform::KeyCursor cursor(files, "/key_at_index", std::make_shared<platform::ScaledClock>(0));
  KeyDirectory directory(files, "/key_count", cursor);
  std::uint32_t count = 7;
  EXPECT_EQ(directory.count(count), ENOENT);
  for (const char* text : {"", "\n", "-1\n", "4x\n", "65537\n", "4294967296\n", "\xFF\n"}) {
    folder.write("key_count", text);
    EXPECT_EQ(directory.count(count), EBADMSG) << text;
  }
  EXPECT_EQ(count, 7U);
  folder.write("key_count", "65536");
  EXPECT_EQ(directory.count(count), 0);
  EXPECT_EQ(KeyDirectory(files, "", cursor).count(count), ENODEV);
}

}  // namespace
}  // namespace halvarin::test
