#include "platform/machine/linux/KeyCursor.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "tests/support/FileLimit.h"
#include "tests/support/SteppingClock.h"
#include "tests/unit/platform/DriverBench.h"
#include "tests/unit/platform/MeddledDriver.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::KeyCursor;
using platform::KeyFacts;

TEST(KeyCursor, DescribesTheKeyAtAnIndex) {
  const DriverBench bench(machineWith(
      {key("FS! ", "ui16", {0, 0}), key("TC0P", "sp78", {1, 2}), key("ui8z", {"ui8\0", 4}, {7})}));
  const auto cursor = bench.newCursor();
  KeyFacts facts;
  ASSERT_EQ(cursor->describe(1, facts), 0);
  EXPECT_EQ(facts.code, platform::fourBytes("FS! "));
  EXPECT_EQ(facts.type, platform::fourBytes("ui16"));
  EXPECT_EQ(facts.sizeBytes, 2U);
  ASSERT_EQ(cursor->describe(3, facts), 0);
  EXPECT_EQ(facts.type, platform::fourBytes("ui8"));
}

TEST(KeyCursor, TakesATypeOfNothingButZerosThatIsPrintedAsAnEmptyLine) {
  platform::RecordedKey untyped = key("KEY1", "ui8 ", {1});
  untyped.type = {};
  const DriverBench bench(machineWith({untyped}));
  KeyFacts facts;
  ASSERT_EQ(bench.newCursor()->describe(1, facts), 0);
  EXPECT_EQ(facts.type, platform::FourBytes());
  EXPECT_EQ(facts.sizeBytes, 1U);
}

TEST(KeyCursor, NamesAKeyThatItCannotDescribe) {
  const TemporaryFolder folder;
  const auto files = std::make_shared<platform::DiskTree>(folder.path().string());
  KeyCursor cursor(files, "/key_at_index", std::make_shared<platform::ScaledClock>(0));
  folder.write("key_at_index", "0");
  folder.write("key_at_index_name", "KEY1\n");
  KeyFacts facts;
  EXPECT_EQ(cursor.describe(0, facts), ENOENT);
  platform::FourBytes code{};
  EXPECT_EQ(cursor.name(0, code), 0);
  EXPECT_EQ(code, platform::fourBytes("KEY1"));
  for (const char* text : {"", "toolong\n"}) {
    folder.write("key_at_index_name", text);
    EXPECT_EQ(cursor.name(0, code), EBADMSG) << text;
  }
}

TEST(KeyCursor, NamesAKeyWhoseCodeBeginsWithAZeroAndIsPrintedAsAnEmptyLine) {
  const DriverBench bench(machineWith({key({"\0KEY", 4}, "ui8 ", {1})}));
  platform::FourBytes code = platform::fourBytes("none");
  ASSERT_EQ(bench.newCursor()->name(0, code), 0);
  EXPECT_EQ(code, platform::FourBytes());
  KeyFacts facts;
  ASSERT_EQ(bench.newCursor()->describe(0, facts), 0);
  EXPECT_EQ(facts.code, platform::FourBytes());
  std::string bytes;
  EXPECT_EQ(bench.newCursor()->readValue(0, platform::FourBytes(), bytes), 0);
}

TEST(KeyCursor, RefusesAnIndexBehindTheLastKey) {
  const DriverBench bench(numberedKeys());
  KeyFacts facts;
  EXPECT_EQ(bench.newCursor()->describe(kNumberedKeys, facts), EINVAL);
}

TEST(KeyCursor, ReadsAValueWithLineEndsAndZeros) {
  const DriverBench bench(machineWith({key("KEYS", "hex_", {0, 10, 0, 10})}));
  std::string bytes;
  ASSERT_EQ(bench.newCursor()->readValue(1, platform::fourBytes("KEYS"), bytes), 0);
  EXPECT_EQ(bytes, std::string("\0\n\0\n", 4));
}

TEST(KeyCursor, GivesNoValueOfAKeyThatIsNoLongerAtItsIndex) {
  const DriverBench bench(numberedKeys());
  std::string bytes;
  EXPECT_EQ(bench.newCursor()->readValue(1, platform::fourBytes("K002"), bytes), EBADMSG);
}

TEST(KeyCursor, TellsThatTheControllerGaveNoValue) {
  const DriverBench bench(machineWith({closedKey("MSSP")}));
  std::string bytes;
  EXPECT_EQ(bench.newCursor()->readValue(1, platform::fourBytes("MSSP"), bytes), EIO);
}

TEST(KeyCursor, MayNotBeMovedByEverybody) {
  DriverScript script;
  script.denied = {"key_at_index"};
  const DriverBench bench(numberedKeys(), script);
  KeyFacts facts;
  EXPECT_EQ(bench.newCursor()->mayMove(), EACCES);
  EXPECT_EQ(bench.newCursor()->describe(0, facts), EACCES);
  EXPECT_EQ(DriverBench(numberedKeys()).newCursor()->mayMove(), 0);
}

TEST(KeyCursor, IsNoneWithoutADriver) {
  const TemporaryFolder folder;
  const auto files = std::make_shared<platform::DiskTree>(folder.path().string());
  const auto clock = std::make_shared<platform::ScaledClock>(0);
  KeyFacts facts;
  EXPECT_EQ(KeyCursor(files, "", clock).mayMove(), ENODEV);
  EXPECT_EQ(KeyCursor(files, "/key_at_index", clock).describe(0, facts), ENOENT);
}

TEST(KeyCursor, FindsNoKeyWhereTheFilesDoNotFollowIt) {
  // Plain files: what is written into the cursor changes nothing beside it.
  const TemporaryFolder folder;
  const auto files = std::make_shared<platform::DiskTree>(folder.path().string());
  KeyCursor cursor(files, "/key_at_index", std::make_shared<platform::ScaledClock>(0));
  KeyFacts facts;
  folder.write("key_at_index", "0");
  EXPECT_EQ(cursor.describe(0, facts), ENOENT);
  folder.write("key_at_index_name", "toolong\n");
  folder.write("key_at_index_type", "ui8 \n");
  folder.write("key_at_index_data_length", "1\n");
  EXPECT_EQ(cursor.describe(0, facts), EBADMSG);
  folder.write("key_at_index_name", "KEY1\n");
  EXPECT_EQ(cursor.describe(0, facts), 0);
  for (const char* length : {"", "x\n", "-1\n", "256\n", "99999999999999999999\n"}) {
    folder.write("key_at_index_data_length", length);
    EXPECT_EQ(cursor.describe(0, facts), EBADMSG) << length;
  }
  folder.write("key_at_index_data_length", "1\n");
  folder.write("key_at_index_type", "");
  EXPECT_EQ(cursor.describe(0, facts), EBADMSG);
}

TEST(KeyCursor, GoesOnWhileSomebodyKeepsTheLockForGood) {
  const DriverBench bench(numberedKeys());
  int error = 0;
  const auto other = bench.driver()->openCursor(bench.cursorPath(), error);
  ASSERT_TRUE(other->tryLock());
  KeyFacts facts;
  EXPECT_EQ(bench.newCursor()->describe(5, facts), 0);
  EXPECT_EQ(facts.code, platform::fourBytes("K005"));
}

TEST(KeyCursor, LetsTheLockGoAfterEachKey) {
  const DriverBench bench(numberedKeys());
  const auto cursor = bench.newCursor();
  KeyFacts facts;
  ASSERT_EQ(cursor->describe(5, facts), 0);
  int error = 0;
  EXPECT_TRUE(bench.driver()->openCursor(bench.cursorPath(), error)->tryLock());
}

class MeddledCursor : public testing::Test {
 protected:
  /// Reads K007 while somebody meddles `times` times, in a system that tells of writes or does not.
  int readWhile(int times, const MeddledDriver::Meddling& meddling, bool isBlind = false) {
    DriverScript script;
    script.isBlind = isBlind;
    const DriverBench bench(machine_, script);
    const auto counted = [&, times](ScriptedDriver& driver, const std::string& file, bool after) {
      if (meddled_ < times) {
        const std::uint32_t before = driver.cursor();
        meddling(driver, file, after);
        meddled_ += driver.cursor() != before && after ? 1 : 0;
      }
    };
    const auto files = std::make_shared<MeddledDriver>(bench.driver(), counted);
    KeyCursor cursor(files, bench.cursorPath(), clock_);
    const int error = cursor.readValue(7, platform::fourBytes("K007"), bytes_);
    valuesRead_ = bench.driver()->valuesRead();
    return error;
  }
  static constexpr int kAlways = 1000000;
  const std::string kRight{'\0', '\7'};

  platform::RecordedMachine machine_ = numberedKeys();
  const std::shared_ptr<SteppingClock> clock_ = std::make_shared<SteppingClock>();
  std::string bytes_;
  std::uint64_t valuesRead_ = 0;
  int meddled_ = 0;
};

TEST_F(MeddledCursor, GivesNoValueWhenItIsMovedAwayAndBackEachTime) {
  EXPECT_EQ(readWhile(kAlways, moveAwayAndBack), EBUSY);
}

TEST_F(MeddledCursor, GivesTheRightValueAfterItWasMovedAwayAndBackForAWhile) {
  EXPECT_EQ(readWhile(5, moveAwayAndBack), 0);
  EXPECT_EQ(bytes_, kRight);
  EXPECT_EQ(meddled_, 5);
}

TEST_F(MeddledCursor, GivesNeverAnothersValueWhereTheSystemTellsOfNoWrites) {
  EXPECT_EQ(readWhile(kAlways, moveAwayAndBack, true), EBUSY);
  EXPECT_EQ(bytes_, "");
}

TEST_F(MeddledCursor, LooksTwentyTimesAtAKeyThatAnswersQuickly) {
  EXPECT_EQ(readWhile(kAlways, moveAwayAndBack), EBUSY);
  EXPECT_EQ(valuesRead_, 20U);
}

TEST_F(MeddledCursor, LooksNoLongerThanHalfASecondAtAKeyThatAnswersSlowly) {
  EXPECT_EQ(readWhile(kAlways,
                      [&](ScriptedDriver& driver, const std::string& file, bool after) {
                        moveAwayAndBack(driver, file, after);
                        clock_->sleepFor(file == "_data" && after ? 200ms : 0ms);
                      }),
            EBUSY);
  EXPECT_EQ(valuesRead_, 3U);
}

TEST_F(MeddledCursor, AsksAControllerThatGivesNoValueThreeTimes) {
  machine_.keys[7] = closedKey("K007");
  EXPECT_EQ(readWhile(kAlways,
                      [](ScriptedDriver& driver, const std::string& file, bool after) {
                        if (file == "_data" && after) {
                          driver.moveCursor(150);
                        }
                      }),
            EBUSY);
  EXPECT_EQ(valuesRead_, 3U);
}

TEST_F(MeddledCursor, TellsThatTheControllerGaveNoValueOnceItIsLeftAlone) {
  machine_.keys[7] = closedKey("K007");
  EXPECT_EQ(readWhile(2, moveAwayAndBack), EIO);
}

TEST_F(MeddledCursor, GivesNoValueWhenItIsMovedAwayForGood) {
  for (const bool isBlind : {false, true}) {
    for (const char* file : {"", "_name", "_data"}) {
      EXPECT_EQ(readWhile(
                    kAlways,
                    [&](ScriptedDriver& driver, const std::string& read, bool /*after*/) {
                      if (read == file) {
                        driver.moveCursor(150);
                      }
                    },
                    isBlind),
                EBUSY)
          << file << isBlind;
    }
  }
}

TEST(KeyCursor, AsksTheControllerForNothingWhereTheSystemTellsOfNoWrites) {
  DriverScript script;
  script.isBlind = true;
  const DriverBench bench(numberedKeys(), script);
  std::string bytes;
  EXPECT_EQ(bench.newCursor()->readValue(7, platform::fourBytes("K007"), bytes), EBUSY);
  EXPECT_EQ(bench.driver()->valuesRead(), 0U);
}

TEST(KeyCursor, IsOpenedAnewUntilTheSystemTellsOfWrites) {
  if (!kFilesCanBeLimited) {
    GTEST_SKIP() << "the sanitizer needs files of its own";
  }
  // As when other programs give back the notices that this user may have.
  const TemporaryFolder folder;
  folder.write("key_at_index", "0");
  folder.write("key_at_index_name", "KEY1\n");
  folder.write("key_at_index_data", "7");
  const auto files = std::make_shared<platform::DiskTree>(folder.path().string());
  KeyCursor cursor(files, "/key_at_index", std::make_shared<platform::ScaledClock>(0));
  {
    const FileLimit limit(1);
    EXPECT_EQ(cursor.mayMove(), 0);
  }
  std::string bytes;
  EXPECT_EQ(cursor.readValue(0, platform::fourBytes("KEY1"), bytes), 0);
  EXPECT_EQ(bytes, "7");
}

/// A cursor that another moves before the notice of our own write is taken: one notice for both.
class OvertakenCursor : public platform::CursorFile {
 public:
  OvertakenCursor(std::unique_ptr<CursorFile> cursor, ScriptedDriver& driver, int times)
      : cursor_(std::move(cursor)), driver_(driver), times_(times) {}

  bool tryLock() override { return cursor_->tryLock(); }
  void unlock() override { cursor_->unlock(); }
  int set(std::string_view text) override {
    const int error = cursor_->set(text);
    if (times_-- > 0) {
      driver_.moveCursor(150);
    }
    return error;
  }
  Witness witness() override { return Witness::alone; }

 private:
  const std::unique_ptr<CursorFile> cursor_;
  ScriptedDriver& driver_;
  int times_;
};

class OvertakenDriver : public MeddledDriver {
 public:
  OvertakenDriver(std::shared_ptr<ScriptedDriver> driver, int times)
      : MeddledDriver(driver, [](ScriptedDriver&, const std::string&, bool) {}),
        driver_(std::move(driver)),
        times_(times) {}
  std::unique_ptr<platform::CursorFile> openCursor(const std::string& path, int& error) override {
    return std::make_unique<OvertakenCursor>(driver_->openCursor(path, error), *driver_, times_);
  }

 private:
  const std::shared_ptr<ScriptedDriver> driver_;
  const int times_;
};

TEST(KeyCursor, DescribesNoOtherKeyThatItWasMovedToAtOnce) {
  const DriverBench bench(numberedKeys());
  const auto clock = std::make_shared<platform::ScaledClock>(0);
  KeyFacts facts;
  KeyCursor once(std::make_shared<OvertakenDriver>(bench.driver(), 1), bench.cursorPath(), clock);
  EXPECT_EQ(once.describe(7, facts), 0);
  EXPECT_EQ(facts.code, platform::fourBytes("K007"));
  KeyCursor always(std::make_shared<OvertakenDriver>(bench.driver(), 1000), bench.cursorPath(),
                   clock);
  EXPECT_EQ(always.describe(7, facts), EBUSY);
}

}  // namespace
}  // namespace halvarin::test
