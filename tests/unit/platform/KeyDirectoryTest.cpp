#include "platform/machine/linux/KeyDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "tests/unit/platform/DriverBench.h"

namespace halvarin::test {
namespace {

using platform::FourBytes;
using platform::fourBytes;
using platform::KeyDirectory;

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
  KeyDirectory::Entry entry;
  FourBytes code{};
  ASSERT_EQ(directory_.nameAt(3, code), 0);
  ASSERT_EQ(directory_.find(fourBytes("TC0P"), entry), 0);
  bench_.driver()->moveCursor(0);
  ASSERT_EQ(directory_.nameAt(3, code), 0);
  EXPECT_EQ(code, fourBytes("TC0P"));
  ASSERT_EQ(directory_.find(fourBytes("TC0P"), entry), 0);
  EXPECT_EQ(entry.index, 3U);
  EXPECT_EQ(bench_.driver()->read(bench_.cursorPath(), 10).bytes, "0\n");
}

TEST_F(Directory, HasNoIndexBehindTheLastKey) {
  FourBytes code{};
  EXPECT_EQ(directory_.nameAt(4, code), 0);
  EXPECT_EQ(directory_.nameAt(5, code), EINVAL);
  EXPECT_EQ(directory_.nameAt(0xFFFFFFFFU, code), EINVAL);
}

/// A driver that keeps count of the keys whose names were asked for.
class TalliedDriver : public ScriptedDriver {
 public:
  using ScriptedDriver::ScriptedDriver;
  platform::FileContent read(const std::string& path, std::size_t most) override {
    if (path.size() > 5 && path.substr(path.size() - 5) == "_name") {
      asked.insert(cursor());
    }
    return ScriptedDriver::read(path, most);
  }
  std::set<std::uint32_t> asked;
};

TEST(DirectoryOfManyKeys, LooksAtAKeyAloneThatItHasNamedBefore) {
  const DriverBench bench(numberedKeys());
  const auto driver = std::make_shared<TalliedDriver>(bench.folder());
  platform::KeyCursor cursor(driver, bench.cursorPath(),
                             std::make_shared<platform::ScaledClock>(0));
  KeyDirectory directory(driver, std::string(ScriptedDriver::kDevice) + "/key_count", cursor);
  FourBytes code{};
  ASSERT_EQ(directory.nameAt(150, code), 0);
  KeyDirectory::Entry entry;
  ASSERT_EQ(directory.find(code, entry), 0);
  EXPECT_EQ(entry.index, 150U);
  EXPECT_EQ(entry.facts.code, fourBytes("K150"));
  EXPECT_EQ(driver->asked, std::set<std::uint32_t>{150});
}

/// A driver that does not give some of the keys' names: the files of these indices have this error.
class NamelessDriver : public ScriptedDriver {
 public:
  using ScriptedDriver::ScriptedDriver;
  platform::FileContent read(const std::string& path, std::size_t most) override {
    const bool isName = path.size() > 5 && path.substr(path.size() - 5) == "_name";
    if (!isName || !nameless.contains(cursor())) {
      return ScriptedDriver::read(path, most);
    }
    ++asked;
    return {error, text};
  }

  std::set<std::uint32_t> nameless;
  int error = EIO;
  std::string text;
  int asked = 0;  // for a name that it does not give
};

class DirectoryWithNamelessKeys : public testing::Test {
 protected:
  int find(const char* name) {
    KeyDirectory::Entry entry;
    const int error = directory_.find(fourBytes(name), entry);
    EXPECT_TRUE(error != 0 || entry.facts.code == fourBytes(name));
    return error;
  }

  const DriverBench bench_{fiveKeys()};
  const std::shared_ptr<NamelessDriver> driver_ = std::make_shared<NamelessDriver>(bench_.folder());
  platform::KeyCursor cursor_{driver_, bench_.cursorPath(),
                              std::make_shared<platform::ScaledClock>(0)};
  KeyDirectory directory_{driver_, std::string(ScriptedDriver::kDevice) + "/key_count", cursor_};
};

TEST_F(DirectoryWithNamelessKeys, FindsAllOthers) {
  for (const std::set<std::uint32_t>& nameless :
       {std::set<std::uint32_t>{2}, {1, 2, 3}, {0, 2, 4}, {2, 3, 4}, {0, 1, 2}}) {
    driver_->nameless = nameless;
    KeyDirectory directory(driver_, std::string(ScriptedDriver::kDevice) + "/key_count", cursor_);
    const char* const names[] = {"#KEY", "BATP", "FS! ", "TC0P", "TC0p"};
    for (std::uint32_t i = 0; i < 5; ++i) {
      KeyDirectory::Entry entry;
      const int error = directory.find(fourBytes(names[i]), entry);
      EXPECT_EQ(error, nameless.contains(i) ? EIO : 0) << names[i];
      EXPECT_EQ(error == 0 ? entry.index : i, i);
    }
  }
}

TEST_F(DirectoryWithNamelessKeys, DoesNotCallAKeyMissingThatMayBeOneOfThem) {
  driver_->nameless = {2};
  EXPECT_EQ(find("FS! "), EIO);
  EXPECT_EQ(find("D!!!"), EIO);
  EXPECT_EQ(find("TC0Q"), ENOKEY);
  EXPECT_EQ(find("AAAA"), ENOKEY);
}

TEST_F(DirectoryWithNamelessKeys, AsksForANameOnceWhileAnotherIsGiven) {
  driver_->nameless = {2};
  EXPECT_EQ(find("BATP"), 0);
  const int asked = driver_->asked;
  EXPECT_GT(asked, 0);
  EXPECT_EQ(find("TC0P"), 0);
  EXPECT_EQ(find("FS! "), EIO);
  EXPECT_EQ(driver_->asked, asked);
}

TEST_F(DirectoryWithNamelessKeys, PassesOverAKeyNoLongerOnceItHasNamedIt) {
  driver_->nameless = {2};
  ASSERT_EQ(find("BATP"), 0);
  ASSERT_EQ(find("D!!!"), EIO);
  driver_->nameless = {};
  FourBytes code{};
  ASSERT_EQ(directory_.nameAt(2, code), 0);
  EXPECT_EQ(find("FS! "), 0);
  EXPECT_EQ(find("D!!!"), ENOKEY);
}

TEST_F(DirectoryWithNamelessKeys, AsksAgainAfterATimeWithoutAnyNames) {
  driver_->nameless = {0, 1, 2, 3, 4};
  EXPECT_EQ(find("FS! "), EIO);
  driver_->nameless = {};
  EXPECT_EQ(find("FS! "), 0);
}

TEST_F(DirectoryWithNamelessKeys, FindsOthersBesideOneWhoseCodeBeginsWithAZero) {
  driver_->nameless = {2};
  driver_->error = 0;
  driver_->text = "\n";
  for (const char* const name : {"#KEY", "BATP", "TC0P", "TC0p"}) {
    EXPECT_EQ(find(name), 0) << name;
  }
  FourBytes code = fourBytes("none");
  ASSERT_EQ(directory_.nameAt(2, code), 0);
  EXPECT_EQ(code, FourBytes());
  EXPECT_EQ(find("BATP"), 0) << "also once it is named";
  EXPECT_EQ(find("D!!!"), EIO) << "it may be that one";
}

TEST_F(DirectoryWithNamelessKeys, GivesOneOfThoseThatShowTheSameNameAlone) {
  driver_->nameless = {2, 3};
  driver_->error = 0;
  driver_->text = "\n";
  FourBytes code = fourBytes("none");
  ASSERT_EQ(directory_.nameAt(2, code), 0);
  EXPECT_EQ(code, FourBytes());
  code = fourBytes("none");
  EXPECT_EQ(directory_.nameAt(3, code), EBADMSG) << "it would have the other's value";
  EXPECT_EQ(code, fourBytes("none"));
  EXPECT_EQ(directory_.nameAt(2, code), 0);
}

TEST_F(DirectoryWithNamelessKeys, DoesNotPassOverAKeyWhoseNameItMayNotKnowYet) {
  driver_->nameless = {2};
  driver_->error = ENODEV;
  EXPECT_EQ(find("BATP"), ENODEV);
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
