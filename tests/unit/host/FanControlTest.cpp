#include "host/fans/FanControl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <span>

#include "host/fans/FanRelease.h"
#include "platform/machine/CurrentMachine.h"
#include "tests/support/BreakableMachine.h"
#include "tests/unit/host/TwoFans.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A machine that lets nobody set a target, and is busy when a fan is handed back for the first
/// time.
class HalfClosedMachine : public BreakableMachine {
 public:
  using BreakableMachine::BreakableMachine;

  [[nodiscard]] platform::MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                             std::span<const std::uint8_t> request,
                                             std::span<std::uint8_t> reply,
                                             std::size_t& replySize) override {
    if (isWriteOf("F0Tg", request)) {
      return static_cast<platform::MachineStatus>(0xE00002C1);
    }
    // The facade's hand-back and the one by the key alone.
    if (isWriteOf("F0Md", request) && (++modeWrites_ == 2 || modeWrites_ == 3)) {
      return static_cast<platform::MachineStatus>(0xE00002D5);
    }
    return BreakableMachine::call(connection, selector, request, reply, replySize);
  }

 private:
  static bool isWriteOf(std::string_view key, std::span<const std::uint8_t> request) {
    constexpr std::size_t kCommandPlace = 42;
    constexpr std::uint8_t kWrite = 6;
    return request[kCommandPlace] == kWrite &&
           std::equal(key.rbegin(), key.rend(), request.begin());
  }

  int modeWrites_ = 0;
};

/// A machine whose fan may be forced, and then nothing be written any more until it is opened.
class ClosingMachine : public BreakableMachine {
 public:
  using BreakableMachine::BreakableMachine;

  void open() { mayWrite_ = true; }
  using BreakableMachine::open;

  [[nodiscard]] platform::MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                             std::span<const std::uint8_t> request,
                                             std::span<std::uint8_t> reply,
                                             std::size_t& replySize) override {
    constexpr std::size_t kCommandPlace = 42;
    if (request[kCommandPlace] == 6 && ++writes_ > 1 && !mayWrite_) {
      return static_cast<platform::MachineStatus>(0xE00002C1);
    }
    return BreakableMachine::call(connection, selector, request, reply, replySize);
  }

 private:
  int writes_ = 0;
  bool mayWrite_ = false;
};

class FanControlTest : public TwoFans {
 protected:
  void start(std::vector<platform::RecordedKey> more, platform::Simulation simulation = {}) {
    TwoFans::start(std::move(more), std::move(simulation));
    control_.emplace(facade_, nullptr, host::MachineOption::Kind::simulated);
  }

  std::optional<host::FanControl> control_;
};

TEST_F(FanControlTest, ForcesByItsBitAndHandsBack) {
  start({key("FS! ", "ui16", {0, 0})});
  EXPECT_TRUE(control_->force(1, 4000));
  EXPECT_TRUE(control_->handBack());
  EXPECT_THAT(writes(), ElementsAre("write FS!  size 2 bytes 0002 -> done",
                                    "write F1Tg size 2 bytes 3E80 -> done",
                                    "write FS!  size 2 bytes 0000 -> done"));
}

TEST_F(FanControlTest, SwitchesTheTestFlagOnFirstAndOffLast) {
  start({key("F0Md", "ui8 ", {0}), key("F1md", "ui8 ", {0}), key("Ftst", "ui8 ", {0})});
  EXPECT_TRUE(control_->force(1, 4000));
  EXPECT_TRUE(control_->handBack());
  EXPECT_THAT(
      writes(),
      ElementsAre("write Ftst size 1 bytes 01 -> done", "write F1md size 1 bytes 01 -> done",
                  "write F1Tg size 2 bytes 3E80 -> done", "write F1md size 1 bytes 00 -> done",
                  "write Ftst size 1 bytes 00 -> done"));
}

TEST_F(FanControlTest, LeavesTheTestFlagOnWhileAnotherFanIsForced) {
  start({key("F0Md", "ui8 ", {0}), key("F1Md", "ui8 ", {0}), key("Ftst", "ui8 ", {0})});
  ASSERT_TRUE(facade_->setFanEnable(true));
  ASSERT_TRUE(facade_->setFanMode(1, 0));
  EXPECT_TRUE(control_->force(1, 4000));
  EXPECT_TRUE(control_->handBack());
  EXPECT_EQ(writes().back(), "write F1Md size 1 bytes 00 -> done");
}

TEST_F(FanControlTest, HandsBackWhenItEnds) {
  start({key("F0Md", "ui8 ", {0})});
  EXPECT_TRUE(control_->force(0, 4000));
  control_.reset();
  EXPECT_EQ(writes().back(), "write F0Md size 1 bytes 00 -> done");
}

TEST_F(FanControlTest, HandsBackOnce) {
  start({key("F0Md", "ui8 ", {0})});
  EXPECT_TRUE(control_->force(0, 4000));
  EXPECT_TRUE(control_->handBack());
  const std::size_t count = writes().size();
  EXPECT_TRUE(control_->handBack());
  EXPECT_EQ(writes().size(), count);
}

TEST_F(FanControlTest, ForcesNothingAfterItHandedBack) {
  start({key("F0Md", "ui8 ", {0})});
  EXPECT_TRUE(control_->handBack());
  EXPECT_FALSE(control_->force(0, 4000));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(FanControlTest, ForcesNothingByBitsThatItCannotRead) {
  start({key("FS! ", "ui16", {0, 2})});
  const auto breakable = std::make_shared<BreakableMachine>(installed_.machine);
  breakable->breakKey("FS! ", 5, static_cast<platform::MachineStatus>(0xE00002D5));
  platform::setMachine(breakable);
  static_cast<void>(facade_->readFans());
  EXPECT_FALSE(control_->force(0, 4000));
  EXPECT_THAT(writes(), IsEmpty()) << "fan 1 is another's";
}

TEST_F(FanControlTest, WritesNothingMoreOnceAFanIsLeft) {
  start({key("F0Md", "ui8 ", {0})});
  EXPECT_TRUE(control_->force(0, 4000));
  EXPECT_TRUE(control_->leave());
  control_.reset();
  EXPECT_EQ(writes().back(), "write F0Tg size 2 bytes 3E80 -> done");
}

TEST_F(FanControlTest, HandsBackWhenTheSpeedCannotBeSet) {
  platform::TransferFault fault;
  fault.key = platform::fourBytes("F0Tg");
  fault.command = 6;
  fault.status = static_cast<platform::MachineStatus>(0xE00002C1);
  platform::Simulation simulation;
  simulation.faults.push_back(fault);
  start({key("F0Md", "ui8 ", {0}), key("Ftst", "ui8 ", {0})}, simulation);
  EXPECT_FALSE(control_->force(0, 4000));
  EXPECT_EQ(writes().back(), "write Ftst size 1 bytes 00 -> done");
  EXPECT_EQ(writes()[writes().size() - 2], "write F0Md size 1 bytes 00 -> done");
  EXPECT_EQ(host::fanCommandStatus(0), static_cast<std::int32_t>(0xE00002C1));
}

TEST_F(FanControlTest, DoesNotForgetAForcedFanWhoseTargetItMayNotWrite) {
  start({key("F0Md", "ui8 ", {0})});
  platform::setMachine(std::make_shared<HalfClosedMachine>(installed_.machine));
  EXPECT_FALSE(control_->force(0, 4000));
  control_.reset();
  EXPECT_EQ(writes().back(), "write F0Md size 1 bytes 00 -> done");
}

TEST_F(FanControlTest, ACountThatCannotBeReadIsTheReason) {
  platform::TransferFault fault;
  fault.key = platform::fourBytes("FNum");
  fault.status = static_cast<platform::MachineStatus>(0xE00002C0);
  fault.command = 5;
  platform::Simulation simulation;
  simulation.faults.push_back(fault);
  start({key("F0Md", "ui8 ", {0})}, simulation);
  EXPECT_FALSE(control_->force(0, 4000));
  EXPECT_EQ(host::fanCommandStatus(0), static_cast<std::int32_t>(0xE00002C0));
  // Nothing was forced; the fan's key is cleared all the same.
  EXPECT_THAT(writes(), ElementsAre("write F0Md size 1 bytes 00 -> done"));
}

TEST_F(FanControlTest, WhatWasHandedBackCannotBeLeft) {
  start({key("F0Md", "ui8 ", {0})});
  EXPECT_TRUE(control_->force(0, 4000));
  EXPECT_TRUE(control_->handBack());
  EXPECT_FALSE(control_->leave());
}

TEST_F(FanControlTest, KeepsTheTestFlagOnWhileNobodySaysWhoHoldsAnotherFan) {
  start({key("F0Md", "ui8 ", {0}), key("F1Md", "ui8 ", {0}), key("Ftst", "ui8 ", {0})});
  EXPECT_TRUE(control_->force(0, 4000));
  const auto breakable = std::make_shared<BreakableMachine>(installed_.machine);
  breakable->breakKey("F1Md", 5, static_cast<platform::MachineStatus>(0xE00002D5));
  platform::setMachine(breakable);
  EXPECT_FALSE(control_->handBack());
  EXPECT_EQ(writes().back(), "write F0Md size 1 bytes 00 -> done");
  breakable->mend();
  EXPECT_TRUE(control_->handBack());
  EXPECT_EQ(writes().back(), "write Ftst size 1 bytes 00 -> done");
}

TEST_F(FanControlTest, DoesNotForgetAFanThatWasForcedBeforeTheRightsWereGone) {
  start({key("F0Md", "ui8 ", {0})});
  constexpr auto kDenied = static_cast<platform::MachineStatus>(0xE00002C1);
  const auto machine = std::make_shared<ClosingMachine>(installed_.machine);
  platform::setMachine(machine);
  EXPECT_FALSE(control_->force(0, 4000));
  EXPECT_EQ(host::fanCommandStatus(0), kDenied);
  machine->open();
  control_.reset();
  EXPECT_EQ(writes().back(), "write F0Md size 1 bytes 00 -> done");
}

}  // namespace
}  // namespace halvarin::test
