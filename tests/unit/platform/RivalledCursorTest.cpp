// The cursor beside another process that moves it.

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

#include "platform/machine/linux/KeyCursor.h"
#include "tests/support/CursorRival.h"
#include "tests/unit/platform/DriverBench.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::KeyCursor;
using platform::KeyFacts;

// The stress test of the same name makes ten times as many.
#ifdef HALVARIN_READS_BESIDE_RIVAL
constexpr int kReads = HALVARIN_READS_BESIDE_RIVAL;
#else
constexpr int kReads = 1000;
#endif

/// What came of many reads beside a rival.
struct Tally {
  int right = 0;
  int wrong = 0;
  int busy = 0;
  int other = 0;
};

/// Another process that moves the cursor every 50 µs, beside values that take 20 µs.
class RivalledCursor : public testing::Test {
 protected:
  /// Reads key after key, each with the name that it must have: so often, and on until the rival
  /// has disturbed many of the readings, however busy the computer is.
  Tally readMany(int reads) {
    constexpr std::int64_t kMostlyDisturbed = 50;
    const auto end = std::chrono::steady_clock::now() + 60s;
    Tally tally;
    int done = 0;
    while (done < reads ||
           (disturbed(done) < kMostlyDisturbed && std::chrono::steady_clock::now() < end)) {
      readOne(static_cast<std::uint32_t>(1 + done % 50), tally);
      ++done;
    }
    std::cout << done << " reads: " << tally.right << " right, " << tally.wrong << " wrong, "
              << tally.busy << " given up, " << disturbed(done) << " times disturbed\n";
    EXPECT_GE(disturbed(done), kMostlyDisturbed) << "the rival was too slow to prove anything";
    EXPECT_EQ(tally.wrong, 0);
    EXPECT_EQ(tally.other, 0);
    return tally;
  }

  static constexpr auto kPause = 50us;
  const DriverBench bench_{numberedKeys(), {{}, 20us, {}, false}};

 private:
  /// How often a value was read again.
  [[nodiscard]] std::int64_t disturbed(int reads) const {
    return static_cast<std::int64_t>(bench_.driver()->valuesRead()) - reads;
  }
  void readOne(std::uint32_t index, Tally& tally) {
    std::string bytes;
    const int error = cursor_->readValue(index, platform::fourBytes(numbered(index)), bytes);
    const bool isRight = bytes == std::string{'\0', static_cast<char>(index)};
    if (error == 0) {
      ++(isRight ? tally.right : tally.wrong);
    } else {
      ++(error == EBUSY ? tally.busy : tally.other);
    }
  }
  const std::unique_ptr<KeyCursor> cursor_ = bench_.newCursor();
};

TEST_F(RivalledCursor, GivesNoWrongValueBesideAProcessThatMovesIt) {
  const CursorRival rival(bench_.folder(), kPause, [](ScriptedDriver& driver, std::uint32_t turn) {
    driver.moveCursor(turn * 7919 % kNumberedKeys);
  });
  EXPECT_GT(readMany(kReads).right, kReads / 10);
}

TEST_F(RivalledCursor, GivesNoWrongValueWhileItIsMovedAwayAndBack) {
  const CursorRival rival(bench_.folder(), kPause, [](ScriptedDriver& driver, std::uint32_t) {
    const std::uint32_t before = driver.cursor();
    driver.moveCursor(150);
    std::this_thread::sleep_for(10us);  // as long as it takes others to begin with a value
    driver.moveCursor(before);
  });
  EXPECT_GT(readMany(kReads).right, kReads / 10);
}

TEST_F(RivalledCursor, GivesNoWrongValueBesideAProcessThatNeverPauses) {
  const CursorRival rival(bench_.folder(), 0us, [](ScriptedDriver& driver, std::uint32_t turn) {
    driver.moveCursor(1 + turn % 50);
  });
  static_cast<void>(readMany(kReads));
}

TEST(KeyCursor, IsSharedWithAnotherThatKnowsOfTheLock) {
  const DriverBench bench(numberedKeys(), {{}, 20us, {}, false});
  const auto clock = std::make_shared<platform::ScaledClock>();
  KeyCursor cursor(bench.driver(), bench.cursorPath(), clock);
  std::unique_ptr<KeyCursor> others;
  const CursorRival rival(bench.folder(), 0us, [&](ScriptedDriver& driver, std::uint32_t turn) {
    if (!others) {
      const std::shared_ptr<ScriptedDriver> kept(&driver, [](ScriptedDriver*) {});
      others = std::make_unique<KeyCursor>(kept, bench.cursorPath(), clock);
    }
    KeyFacts facts;
    static_cast<void>(others->describe(turn % kNumberedKeys, facts));
  });
  for (int i = 0; i < 1000; ++i) {
    std::string bytes;
    EXPECT_EQ(cursor.readValue(9, platform::fourBytes("K009"), bytes), 0);
    EXPECT_EQ(bytes, (std::string{'\0', '\11'}));
  }
}

}  // namespace
}  // namespace halvarin::test
