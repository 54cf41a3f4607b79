#include "platform/machine/linux/DiskCursor.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <memory>

#include "tests/support/FileLimit.h"
#include "tests/support/SharedData.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {
namespace {

using platform::CursorFile;
using platform::DiskCursor;
using Witness = CursorFile::Witness;

/// Does something in another process; whether it says that it worked.
bool inAnotherProcess(const std::function<bool()>& action) {
  const pid_t process = fork();
  if (process == 0) {
    _exit(action() ? 0 : 1);
  }
  int status = 0;
  return waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class DiskCursorFile : public testing::Test {
 protected:
  DiskCursorFile() {
    folder_.write("key_at_index", "7\n");
    int error = 0;
    cursor_ = DiskCursor::open(path_, error);
    EXPECT_EQ(error, 0);
  }
  /// Another program's writes, one after the other.
  bool othersWrite(const std::vector<std::string>& texts) {
    return inAnotherProcess([&] {
      int error = 0;
      const auto cursor = DiskCursor::open(path_, error);
      for (const std::string& text : texts) {
        if (!cursor || cursor->set(text) != 0) {
          return false;
        }
      }
      return true;
    });
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.file("key_at_index");
  std::unique_ptr<DiskCursor> cursor_;
};

TEST_F(DiskCursorFile, IsSetFromItsBeginning) {
  ASSERT_EQ(cursor_->set("12"), 0);
  ASSERT_EQ(cursor_->set("34"), 0);
  EXPECT_EQ(fileText(path_), "34");
}

TEST_F(DiskCursorFile, IsAloneAfterItsOwnWrite) {
  ASSERT_EQ(cursor_->set("1"), 0);
  EXPECT_EQ(cursor_->witness(), Witness::alone);
  EXPECT_EQ(cursor_->witness(), Witness::alone);
  ASSERT_EQ(cursor_->set("2"), 0);
  EXPECT_EQ(cursor_->witness(), Witness::alone);
}

TEST_F(DiskCursorFile, NoticesAnotherProcessThatMovesItAwayAndBack) {
  ASSERT_EQ(cursor_->set("1"), 0);
  ASSERT_TRUE(othersWrite({"2", "1"}));
  EXPECT_EQ(fileText(path_).front(), '1');
  EXPECT_EQ(cursor_->witness(), Witness::disturbed);
}

TEST_F(DiskCursorFile, IsAloneAgainOnceItIsSetAgain) {
  ASSERT_EQ(cursor_->set("1"), 0);
  ASSERT_TRUE(othersWrite({"2"}));
  ASSERT_EQ(cursor_->set("1"), 0);
  EXPECT_EQ(cursor_->witness(), Witness::alone);
}

TEST_F(DiskCursorFile, DoesNotTakeReadersForWriters) {
  ASSERT_EQ(cursor_->set("1"), 0);
  ASSERT_TRUE(inAnotherProcess([&] { return fileText(path_).front() == '1'; }));
  EXPECT_EQ(cursor_->witness(), Witness::alone);
}

TEST_F(DiskCursorFile, IsBlindBeforeItIsSet) {
  EXPECT_EQ(cursor_->witness(), Witness::blind);
}

TEST_F(DiskCursorFile, IsBlindWhereTheSystemHasNoMoreNoticesToGive) {
  if (!kFilesCanBeLimited) {
    GTEST_SKIP() << "the sanitizer needs files of its own";
  }
  const FileLimit limit(1);
  int error = 0;
  const auto cursor = DiskCursor::open(path_, error);
  ASSERT_TRUE(cursor) << error;
  ASSERT_EQ(cursor->set("1"), 0);
  EXPECT_EQ(cursor->witness(), Witness::blind);
}

TEST_F(DiskCursorFile, IsLockedForOneProcessAtATime) {
  const auto othersLock = [&] {
    return inAnotherProcess([&] {
      int error = 0;
      const auto cursor = DiskCursor::open(path_, error);
      return cursor && cursor->tryLock();
    });
  };
  ASSERT_TRUE(cursor_->tryLock());
  EXPECT_TRUE(cursor_->tryLock());
  EXPECT_FALSE(othersLock());
  cursor_->unlock();
  EXPECT_TRUE(othersLock());
  EXPECT_TRUE(cursor_->tryLock());
}

TEST_F(DiskCursorFile, IsNoneWhereTheFileCannotBeWritten) {
  int error = 0;
  EXPECT_EQ(DiskCursor::open(folder_.file("missing"), error), nullptr);
  EXPECT_EQ(error, ENOENT);
  EXPECT_EQ(DiskCursor::open(folder_.path().string(), error), nullptr);
  EXPECT_EQ(error, EISDIR);
}

}  // namespace
}  // namespace halvarin::test
