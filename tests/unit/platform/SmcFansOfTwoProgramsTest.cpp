// Two programs that command fans of the same machine, whose force bits the driver writes all at
// once.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <thread>

#include "platform/machine/linux/AppleSmcKeys.h"
#include "tests/support/FanMachines.h"
#include "tests/unit/platform/DriverBench.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class SmcFansOfTwoPrograms : public testing::Test {
 protected:
  /// A program's own view of the driver that all share.
  std::unique_ptr<platform::AppleSmcKeys> newProgram() {
    return std::make_unique<platform::AppleSmcKeys>(
        std::make_shared<ScriptedDriver>(bench_.folder()), bench_.found(),
        std::make_shared<platform::ScaledClock>());
  }

  // Reading the bits before they are changed takes the driver as long as a value.
  const DriverBench bench_{fanMachine(FanStyle::forceBits), {{}, 2ms, {}, false}};
};

TEST_F(SmcFansOfTwoPrograms, AreAllHandedBackAtTheSameInstant) {
  const std::array programs{newProgram(), newProgram()};
  for (int round = 0; round < 10; ++round) {
    for (std::uint32_t fan = 0; fan < 2; ++fan) {
      bench_.driver()->setForced(fan, true);
    }
    for (const auto& program : programs) {
      ASSERT_EQ(bytesOf(readOf(*program, "FS! ", 2), 2), (Bytes{0, 3}));
    }
    std::atomic<int> ready = 0;
    const auto handBack = [&](platform::AppleSmcKeys& program, std::uint8_t bits) {
      for (++ready; ready < 2;) {
        std::this_thread::yield();
      }
      EXPECT_EQ(writeOf(program, "FS! ", {0, bits}).status, 0);
    };
    std::thread first([&] { handBack(*programs[0], 2); });
    std::thread second([&] { handBack(*programs[1], 1); });
    first.join();
    second.join();
    EXPECT_EQ(bytesOf(readOf(*programs[0], "FS! ", 2), 2), (Bytes{0, 0})) << "round " << round;
  }
}

TEST_F(SmcFansOfTwoPrograms, AreHandedBackThoughTheOtherKeepsTheLockForGood) {
  bench_.driver()->setForced(1, true);
  int error = 0;
  const auto other = bench_.driver()->openCursor(bench_.cursorPath(), error);
  ASSERT_TRUE(other->tryLock());
  const auto program = newProgram();
  ASSERT_EQ(bytesOf(readOf(*program, "FS! ", 2), 2), (Bytes{0, 2}));
  EXPECT_EQ(writeOf(*program, "FS! ", {0, 0}).status, 0);
  EXPECT_THAT(bench_.driver()->writes(), ElementsAre("fan2_manual 0"));
}

TEST_F(SmcFansOfTwoPrograms, AreNotForcedAgainByAThreadWhoseProgramHasReadThemSince) {
  const auto program = newProgram();
  for (std::uint32_t fan = 0; fan < 2; ++fan) {
    bench_.driver()->setForced(fan, true);
  }
  std::promise<void> handedBack;
  std::promise<void> hasRead;
  std::thread signals([&] {
    EXPECT_EQ(bytesOf(readOf(*program, "FS! ", 2), 2), (Bytes{0, 3}));
    hasRead.set_value();
    handedBack.get_future().wait();
    EXPECT_EQ(writeOf(*program, "FS! ", {0, 2}).status, 0);
  });
  hasRead.get_future().wait();
  bench_.driver()->setForced(1, false);
  EXPECT_EQ(bytesOf(readOf(*program, "FS! ", 2), 2), (Bytes{0, 1}));
  handedBack.set_value();
  signals.join();
  EXPECT_THAT(bench_.driver()->writes(), ElementsAre("fan1_manual 0"));
}

TEST_F(SmcFansOfTwoPrograms, AreNotForcedAgainByAThreadThatCouldNotReadThem) {
  const auto program = newProgram();
  for (std::uint32_t fan = 0; fan < 2; ++fan) {
    bench_.driver()->setForced(fan, true);
  }
  ASSERT_EQ(bytesOf(readOf(*program, "FS! ", 2), 2), (Bytes{0, 3}));
  bench_.driver()->setForced(1, false);
  std::thread([&] {
    bench_.driver()->setSilent(true);
    EXPECT_NE(readOf(*program, "FS! ", 2).status, 0);
    bench_.driver()->setSilent(false);
    EXPECT_EQ(writeOf(*program, "FS! ", {0, 2}).status, 0) << "as another thread has read them";
  }).join();
  EXPECT_THAT(bench_.driver()->writes(), ElementsAre("fan1_manual 0"));
}

TEST_F(SmcFansOfTwoPrograms, AreNotForcedAgainByAThreadWhoseLastReadingFailedAfterThat) {
  const auto program = newProgram();
  for (std::uint32_t fan = 0; fan < 2; ++fan) {
    bench_.driver()->setForced(fan, true);
  }
  ASSERT_EQ(bytesOf(readOf(*program, "FS! ", 2), 2), (Bytes{0, 3}));
  bench_.driver()->setSilent(true);
  EXPECT_NE(readOf(*program, "FS! ", 2).status, 0);
  bench_.driver()->setSilent(false);
  bench_.driver()->setForced(1, false);
  std::thread([&] { EXPECT_EQ(bytesOf(readOf(*program, "FS! ", 2), 2), (Bytes{0, 1})); }).join();
  EXPECT_NE(writeOf(*program, "FS! ", {0, 2}).status, 0) << "fan 1 is not forced";
  EXPECT_THAT(bench_.driver()->writes(), ElementsAre("fan1_manual 0"));
}

TEST_F(SmcFansOfTwoPrograms, AreNotForcedAgainByWhatWasReadBeforeTheyWereHandedBack) {
  const auto program = newProgram();
  bench_.driver()->setForced(0, true);
  bench_.driver()->setForced(1, true);
  ASSERT_EQ(bytesOf(readOf(*program, "FS! ", 2), 2), (Bytes{0, 3}));
  ASSERT_EQ(writeOf(*program, "FS! ", {0, 2}).status, 0);
  bench_.driver()->setSilent(true);
  EXPECT_NE(readOf(*program, "FS! ", 2).status, 0);
  bench_.driver()->setSilent(false);
  EXPECT_EQ(writeOf(*program, "FS! ", {0, 1}).status, 0) << "the last reading without fan 1";
  EXPECT_THAT(bench_.driver()->writes(), ElementsAre("fan1_manual 0", "fan2_manual 0"));
}

}  // namespace
}  // namespace halvarin::test
