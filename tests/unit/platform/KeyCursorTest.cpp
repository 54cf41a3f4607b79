#include "platform/machine/linux/KeyCursor.h"

#include <gtest/gtest.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/CursorRival.h"
#include "tests/unit/platform/DriverBench.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::KeyCursor;
using platform::KeyFacts;

std::string numbered(std::uint32_t number) {
  const std::string digits = std::to_string(1000 + number);
  return "K" + digits.substr(1);
}

constexpr std::uint32_t kKeys = 200;

/// Keys whose values are their own indices, so that a value tells whose it is.
platform::RecordedMachine numberedKeys() {
  std::vector<platform::RecordedKey> keys;
  for (std::uint32_t i = 1; i < kKeys; ++i) {
    keys.push_back(key(numbered(i), "ui16", {0, static_cast<std::uint8_t>(i)}));
  }
  return machineWith(keys);
}

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

TEST(KeyCursor, RefusesAnIndexBehindTheLastKey) {
  const DriverBench bench(numberedKeys());
  KeyFacts facts;
  EXPECT_EQ(bench.newCursor()->describe(kKeys, facts), EINVAL);
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

/// What came of many reads beside a rival.
struct Tally {
  int right = 0;
  int wrong = 0;
  int busy = 0;
  int other = 0;
};

/// Reads key after key, each with the name that it must have.
Tally readBeside(KeyCursor& cursor, int reads) {
  Tally tally;
  for (int i = 0; i < reads; ++i) {
    const auto index = static_cast<std::uint32_t>(1 + i % 50);
    std::string bytes;
    const int error = cursor.readValue(index, platform::fourBytes(numbered(index)), bytes);
    const bool isRight = bytes == std::string{'\0', static_cast<char>(index)};
    if (error == 0) {
      ++(isRight ? tally.right : tally.wrong);
    } else {
      ++(error == EBUSY ? tally.busy : tally.other);
    }
  }
  std::cout << reads << " reads: " << tally.right << " right, " << tally.busy
            << " given up as disturbed\n";
  return tally;
}

class RivalledCursor : public testing::TestWithParam<bool> {
 protected:
  RivalledCursor() { script_.isBlind = GetParam(); }
  DriverScript script_;
};

TEST_P(RivalledCursor, GivesNoWrongValueBesideAProcessThatMovesItAllTheTime) {
  const DriverBench bench(numberedKeys(), script_);
  const auto cursor = bench.newCursor();
  const CursorRival rival(bench.folder(), 300us, [](ScriptedDriver& driver, std::uint32_t turn) {
    driver.moveCursor(turn * 7919 % kKeys);
  });
  const Tally tally = readBeside(*cursor, 10000);
  EXPECT_EQ(tally.wrong, 0);
  EXPECT_EQ(tally.other, 0);
  EXPECT_GT(tally.right, 9000);
}

TEST_P(RivalledCursor, GivesNoWrongValueBesideAProcessThatNeverPauses) {
  const DriverBench bench(numberedKeys(), script_);
  const auto cursor = bench.newCursor();
  const CursorRival rival(bench.folder(), 0us, [](ScriptedDriver& driver, std::uint32_t turn) {
    driver.moveCursor(turn * 7919 % kKeys);
  });
  const Tally tally = readBeside(*cursor, 1000);
  EXPECT_EQ(tally.wrong, 0);
  EXPECT_EQ(tally.other, 0);
}

INSTANTIATE_TEST_SUITE_P(All, RivalledCursor, testing::Values(false, true),
                         [](const auto& instance) { return instance.param ? "Blind" : "Seeing"; });

TEST(KeyCursor, GivesNoWrongValueBesideAProcessThatMovesItAwayAndBackAgain) {
  // The names before and after are right then, and the value is another's.
  const DriverBench bench(numberedKeys());
  const auto cursor = bench.newCursor();
  const CursorRival rival(bench.folder(), 20us, [](ScriptedDriver& driver, std::uint32_t turn) {
    driver.moveCursor(1 + turn % 50);
    driver.moveCursor(150);
    driver.moveCursor(1 + turn % 50);
  });
  const Tally tally = readBeside(*cursor, 2000);
  EXPECT_EQ(tally.wrong, 0);
  EXPECT_EQ(tally.other, 0);
}

TEST(KeyCursor, SharesTheDriverWithAnotherThatKnowsOfTheLock) {
  const DriverBench bench(numberedKeys());
  const auto clock = std::make_shared<platform::ScaledClock>();
  KeyCursor cursor(bench.driver(), bench.cursorPath(), clock);
  std::unique_ptr<KeyCursor> others;
  const CursorRival rival(bench.folder(), 0us, [&](ScriptedDriver& driver, std::uint32_t turn) {
    if (!others) {
      const std::shared_ptr<ScriptedDriver> kept(&driver, [](ScriptedDriver*) {});
      others = std::make_unique<KeyCursor>(kept, bench.cursorPath(), clock);
    }
    KeyFacts facts;
    static_cast<void>(others->describe(turn % kKeys, facts));
  });
  const Tally tally = readBeside(cursor, 1000);
  EXPECT_EQ(tally.wrong, 0);
  EXPECT_EQ(tally.right, 1000);
}

}  // namespace
}  // namespace halvarin::test
