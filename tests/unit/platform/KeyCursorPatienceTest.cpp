// How long the cursor is waited for, and when it is not.

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "tests/support/SteppingClock.h"
#include "tests/unit/platform/DriverBench.h"
#include "tests/unit/platform/MeddledDriver.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::fourBytes;
using platform::KeyCursor;
using platform::KeyFacts;

/// A cursor that somebody moves away whenever the name under it is read, so many times.
class AwaitedCursor : public testing::Test {
 protected:
  void disturb(ScriptedDriver& driver, const std::string& file, bool after) {
    if (file == "_name" && !after && disturbances_ > 0) {
      --disturbances_;
      driver.moveCursor(150);
    }
    clock_->sleepFor(file == "_name" && after ? slowness_ : 0ms);
  }
  KeyCursor newCursor() {
    return {std::make_shared<MeddledDriver>(bench_.driver(),
                                            [this](ScriptedDriver& driver, const std::string& file,
                                                   bool after) { disturb(driver, file, after); }),
            bench_.cursorPath(), clock_};
  }
  platform::Clock::Duration timeOfNaming(std::uint32_t index, int error) {
    const auto before = clock_->now();
    platform::FourBytes code{};
    EXPECT_EQ(cursor_.name(index, code), error);
    return clock_->now() - before;
  }
  static constexpr int kAlways = 1000000;

  const DriverBench bench_{numberedKeys()};
  const std::shared_ptr<SteppingClock> clock_ = std::make_shared<SteppingClock>();
  int disturbances_ = 0;
  platform::Clock::Duration slowness_ = 0ms;  // of a name
  KeyCursor cursor_ = newCursor();
  KeyFacts facts_;
};

TEST_F(AwaitedCursor, IsLookedAtLongerForWhatIsAskedOnce) {
  disturbances_ = 80;  // two to a look: the name is read before and after the rest
  ASSERT_EQ(cursor_.describe(7, facts_), 0);
  EXPECT_EQ(facts_.code, fourBytes("K007"));
  disturbances_ = 80;
  platform::FourBytes code{};
  ASSERT_EQ(cursor_.name(8, code), 0);
  EXPECT_EQ(code, fourBytes("K008"));
  disturbances_ = 80;
  std::string bytes;
  EXPECT_EQ(cursor_.readValue(7, fourBytes("K007"), bytes), EBUSY);
}

TEST_F(AwaitedCursor, IsLookedAtOnceForSomeSecondsAfterEightInVain) {
  disturbances_ = kAlways;
  for (std::uint32_t i = 0; i < 8; ++i) {
    EXPECT_GT(timeOfNaming(i, EBUSY), 500ms) << i;
  }
  for (std::uint32_t i = 0; i < 100; ++i) {
    EXPECT_EQ(timeOfNaming(i, EBUSY), 0ms) << i;
  }
  clock_->sleepFor(6s);
  EXPECT_GT(timeOfNaming(7, EBUSY), 0ms) << "it is worth the while again";
  EXPECT_EQ(timeOfNaming(7, EBUSY), 0ms) << "it was not";
  disturbances_ = 0;
  EXPECT_EQ(timeOfNaming(7, 0), 0ms);
  disturbances_ = 80;
  EXPECT_GT(timeOfNaming(8, 0), 0ms) << "somebody rests";
}

TEST_F(AwaitedCursor, IsLookedAtNoLongerThanForAValueAfterTenSecondsInAll) {
  const auto before = clock_->now();
  int waits = 0;
  for (std::uint32_t i = 0; i < kNumberedKeys && clock_->now() - before < 10s; ++i, ++waits) {
    disturbances_ = 80;
    EXPECT_GT(timeOfNaming(i, 0), 0ms);
  }
  EXPECT_GT(waits, 10);
  disturbances_ = 80;
  EXPECT_LE(timeOfNaming(9, EBUSY), 100ms);
  disturbances_ = 20;
  EXPECT_GT(timeOfNaming(9, 0), 0ms) << "it is waited for as a value is";
}

TEST_F(AwaitedCursor, IsNotWaitedForByKeysThatAreSeenAtTheFirstLook) {
  clock_->sleepFor(1s);
  for (std::uint32_t i = 0; i < kNumberedKeys; ++i) {
    slowness_ = 100ms;
    EXPECT_EQ(timeOfNaming(i, 0), 200ms);
  }
  slowness_ = 0ms;
  disturbances_ = 80;
  EXPECT_GT(timeOfNaming(9, 0), 100ms);
}

TEST_F(AwaitedCursor, KeepsNoListOfHundredsOfKeysForMinutesBesideARivalWhoNeverRests) {
  for (const platform::Clock::Duration slowness : {0ms, 1ms, 100ms}) {
    slowness_ = slowness;
    disturbances_ = kAlways;
    const auto before = clock_->now();
    KeyCursor cursor = newCursor();
    platform::FourBytes code{};
    for (std::uint32_t i = 0; i < 500; ++i) {
      EXPECT_EQ(cursor.name(i % kNumberedKeys, code), EBUSY);
    }
    // One look at each of them takes two slow readings.
    EXPECT_LE(clock_->now() - before, 30s + 2 * 500 * slowness) << slowness.count();
  }
}

/// A rival who moves the cursor away after each value, beside a key that the controller refuses.
class RefusedKeyBesideARival : public testing::Test {
 protected:
  static platform::RecordedMachine machine() {
    platform::RecordedMachine keys = numberedKeys();
    keys.keys[7] = closedKey("K007");
    return keys;
  }
  int read(std::uint32_t index) {
    std::string bytes;
    return cursor_.readValue(index, fourBytes(numbered(index)), bytes);
  }
  void meddle(ScriptedDriver& driver, bool after) {
    values_ += after ? 0 : 1;
    if (after || (looksAtIt_ && values_ % 2 == 0)) {
      driver.moveCursor(after ? 150 : 7);
    }
  }

  const DriverBench bench_{machine()};
  const std::shared_ptr<SteppingClock> clock_ = std::make_shared<SteppingClock>();
  bool isRestless_ = true;
  bool looksAtIt_ = false;  // the rival, at every second value
  int values_ = 0;
  KeyCursor cursor_{std::make_shared<MeddledDriver>(
                        bench_.driver(),
                        [this](ScriptedDriver& driver, const std::string& file, bool after) {
                          if (isRestless_ && file == "_data") {
                            meddle(driver, after);
                          }
                        }),
                    bench_.cursorPath(), clock_};
};

TEST_F(RefusedKeyBesideARival, IsNotAskedForAgainForTenSeconds) {
  EXPECT_EQ(read(7), EBUSY);
  const std::uint64_t asked = bench_.driver()->valuesRead();
  clock_->sleepFor(9s);
  EXPECT_EQ(read(7), EBUSY);
  EXPECT_EQ(bench_.driver()->valuesRead(), asked);
  isRestless_ = false;
  EXPECT_EQ(read(9), 0) << "others are";
  clock_->sleepFor(2s);
  EXPECT_EQ(read(7), EIO);
}

TEST_F(RefusedKeyBesideARival, KeepsNoOtherFromBeingAskedForAgainAtOnce) {
  looksAtIt_ = true;
  EXPECT_EQ(read(9), EBUSY);
  EXPECT_EQ(bench_.driver()->valuesRead(), 6U) << "three values and three refusals";
  isRestless_ = false;
  EXPECT_EQ(read(9), 0);
}

TEST_F(RefusedKeyBesideARival, IsAskedForAgainAtOnceWhenItWasLeftAlone) {
  isRestless_ = false;
  EXPECT_EQ(read(7), EIO);
  const std::uint64_t asked = bench_.driver()->valuesRead();
  EXPECT_EQ(read(7), EIO);
  EXPECT_EQ(bench_.driver()->valuesRead(), asked + 1);
}

TEST(BlindCursor, IsNotWaitedFor) {
  DriverScript script;
  script.isBlind = true;
  const DriverBench bench(numberedKeys(), script);
  const auto clock = std::make_shared<SteppingClock>();
  KeyCursor cursor(bench.driver(), bench.cursorPath(), clock);
  KeyFacts facts;
  for (std::uint32_t i = 0; i < kNumberedKeys; ++i) {
    EXPECT_EQ(cursor.describe(i, facts), EBUSY);
  }
  EXPECT_LE(clock->now(), kNumberedKeys * 5ms);
}

/// Time that passes only by waiting, while somebody else does something at every wait.
class EventfulClock : public SteppingClock {
 public:
  void sleepFor(Duration time) override {
    SteppingClock::sleepFor(time);
    event();
  }
  std::function<void()> event = [] {};
};

class LockedCursor : public testing::Test {
 protected:
  int read(std::uint32_t index) {
    std::string bytes;
    return cursor_.readValue(index, fourBytes(numbered(index)), bytes);
  }
  platform::Clock::Duration timeOfReading(std::uint32_t index) {
    const auto before = clock_->now();
    EXPECT_EQ(read(index), 0);
    return clock_->now() - before;
  }
  static platform::RecordedMachine machine() {
    platform::RecordedMachine keys = numberedKeys();
    keys.keys[7] = closedKey("K007");
    return keys;
  }

  const DriverBench bench_{machine()};
  const std::shared_ptr<EventfulClock> clock_ = std::make_shared<EventfulClock>();
  KeyCursor cursor_{bench_.driver(), bench_.cursorPath(), clock_};
  int error_ = 0;
  const std::unique_ptr<platform::CursorFile> other_ =
      bench_.driver()->openCursor(bench_.cursorPath(), error_);
};

TEST_F(LockedCursor, IsLeftToAnotherForAsLongAsARefusedKeyTakes) {
  ASSERT_TRUE(other_->tryLock());
  ASSERT_EQ(other_->set("150"), 0);
  auto witness = platform::CursorFile::Witness::blind;
  clock_->event = [&] {
    if (witness == platform::CursorFile::Witness::blind && clock_->now() >= 250ms) {
      witness = other_->witness();
      other_->unlock();
    }
  };
  EXPECT_EQ(read(9), 0);
  EXPECT_EQ(witness, platform::CursorFile::Witness::alone);
}

TEST_F(LockedCursor, IsUsedWithoutTheLockForSecondsOnceThatWasNotLetGo) {
  ASSERT_TRUE(other_->tryLock());
  EXPECT_LE(timeOfReading(9), 350ms);
  EXPECT_EQ(timeOfReading(10), 0ms);
  clock_->sleepFor(6s);
  EXPECT_GE(timeOfReading(11), 250ms);
  other_->unlock();
  EXPECT_EQ(timeOfReading(12), 0ms);
}

TEST_F(LockedCursor, IsOthersTurnAfterAKeyThatWasRefused) {
  bool wasFree = false;
  clock_->event = [&] {
    wasFree = wasFree || other_->tryLock();
    other_->unlock();
  };
  EXPECT_EQ(read(7), EIO);
  EXPECT_TRUE(wasFree);
  EXPECT_GE(clock_->now(), 2ms);
}

TEST_F(LockedCursor, IsLeftToAnotherBeforeAWriteEvenIfThatWasInVainAMomentAgo) {
  ASSERT_TRUE(other_->tryLock());
  ASSERT_EQ(read(9), 0);
  const auto begin = clock_->now();
  bool isHeld = true;
  clock_->event = [&] {
    if (isHeld && clock_->now() >= begin + 100ms) {
      isHeld = false;
      other_->unlock();
    }
  };
  bool wasHeld = true;
  EXPECT_EQ(cursor_.whileLocked([&] {
    wasHeld = isHeld;
    return 0;
  }),
            0);
  EXPECT_FALSE(wasHeld);
}

}  // namespace
}  // namespace halvarin::test
