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
  }

  const DriverBench bench_{numberedKeys()};
  const std::shared_ptr<SteppingClock> clock_ = std::make_shared<SteppingClock>();
  int disturbances_ = 0;
  KeyCursor cursor_{std::make_shared<MeddledDriver>(
                        bench_.driver(), [this](ScriptedDriver& driver, const std::string& file,
                                                bool after) { disturb(driver, file, after); }),
                    bench_.cursorPath(), clock_};
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

TEST_F(AwaitedCursor, IsLookedAtNoLongerThanForAValueOnceThatWasInVain) {
  constexpr int kAlways = 1000000;
  disturbances_ = kAlways;
  EXPECT_EQ(cursor_.describe(7, facts_), EBUSY);
  EXPECT_LE(clock_->now(), 3s);
  const auto before = clock_->now();
  for (std::uint32_t i = 0; i < 100; ++i) {
    EXPECT_EQ(cursor_.describe(i, facts_), EBUSY);
  }
  EXPECT_LE(clock_->now() - before, 100 * 100ms);
  disturbances_ = 0;
  ASSERT_EQ(cursor_.describe(7, facts_), 0);
  disturbances_ = 80;
  EXPECT_EQ(cursor_.describe(8, facts_), 0) << "it is worth the while again";
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

  const DriverBench bench_{machine()};
  const std::shared_ptr<SteppingClock> clock_ = std::make_shared<SteppingClock>();
  bool isRestless_ = true;
  KeyCursor cursor_{std::make_shared<MeddledDriver>(
                        bench_.driver(),
                        [this](ScriptedDriver& driver, const std::string& file, bool after) {
                          if (isRestless_ && file == "_data" && after) {
                            driver.moveCursor(150);
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
}

}  // namespace
}  // namespace halvarin::test
