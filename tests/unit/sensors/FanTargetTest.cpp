// How a fan's target speed is written in the types that carry one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sensors/FanCommands.h"
#include "tests/support/SmallController.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FanTarget : public SmallController {
 protected:
  void start(const char* type, Bytes target, platform::Simulation simulation = {}) {
    SmallController::start({key("F0Mn", "fpe2", {0x1F, 0x40}), key("F0Mx", "fpe2", {0x60, 0xE0}),
                            key("F0Tg", type, std::move(target)), key("FNum", "ui8 ", {2})},
                           std::move(simulation));
  }
};

TEST_F(FanTarget, Speed1200IsWrittenAs12C0InFpe2) {
  start("fpe2", {0, 0});
  EXPECT_TRUE(writeFanTarget(*smc_, 1200, 0));
  EXPECT_THAT(*installed_.journal,
              ElementsAre("call 1 read FNum size 1 -> 02", "call 1 read F0Tg size 2 -> 0000",
                          "open type 0 -> connection 2",
                          "call 2 write F0Tg size 2 bytes 12C0 -> done", "close 2 -> done"));
}

TEST_F(FanTarget, Speed1200IsWrittenAs00009644InFlt) {
  start("flt ", {0, 0, 0, 0});
  EXPECT_TRUE(writeFanTarget(*smc_, 1200, 0));
  EXPECT_THAT(writes(), ElementsAre("call 2 write F0Tg size 4 bytes 00009644 -> done"));
}

TEST_F(FanTarget, DeliberateUi16IsWrittenInQuartersToo) {
  start("ui16", {0, 0});
  EXPECT_TRUE(writeFanTarget(*smc_, 1200, 0));
  EXPECT_THAT(writes(), ElementsAre("call 2 write F0Tg size 2 bytes 12C0 -> done"));
}

TEST_F(FanTarget, SpeedIsWrittenInTheSizeOfTheKey) {
  struct Row {
    const char* type;
    Bytes zeros;
    std::uint16_t speed;
    const char* wire;
  };
  for (const Row& row : std::vector<Row>{{"flt ", {0, 0, 0, 0}, 0, "size 4 bytes 00000000"},
                                         {"flt ", {0, 0, 0, 0}, 65535, "size 4 bytes 00FF7F47"},
                                         {"flt ", {0, 0, 0, 0}, 1, "size 4 bytes 0000803F"},
                                         {"flt ", {0, 0}, 1200, "size 2 bytes 9644"},
                                         {"fpe2", {0, 0}, 0, "size 2 bytes 0000"},
                                         {"fpe2", {0, 0}, 16383, "size 2 bytes FFFC"},
                                         {"fpe2", {0, 0, 0, 0}, 65535, "size 4 bytes 0003FFFC"},
                                         {"fpe2", {0}, 1200, "size 1 bytes C0"},
                                         {"ui16", {0, 0, 0, 0}, 1200, "size 4 bytes 000012C0"}}) {
    start(row.type, row.zeros);
    EXPECT_TRUE(writeFanTarget(*smc_, row.speed, 0));
    EXPECT_THAT(writes(), ElementsAre("call 2 write F0Tg " + std::string(row.wire) + " -> done"));
  }
}

TEST_F(FanTarget, DeliberateSpeedAbove16383LosesItsHighBitsInFpe2) {
  start("fpe2", {0, 0});
  EXPECT_TRUE(writeFanTarget(*smc_, 65535, 0));
  EXPECT_TRUE(writeFanTarget(*smc_, 16384, 0));
  EXPECT_THAT(writes(), ElementsAre("call 2 write F0Tg size 2 bytes FFFC -> done",
                                    "call 3 write F0Tg size 2 bytes 0000 -> done"));
}

TEST_F(FanTarget, DeliberateLimitsAreNotLookedAtAndNothingIsReadBack) {
  start("fpe2", {0, 0});
  EXPECT_TRUE(writeFanTarget(*smc_, 100, 0));   // below the least, 2000
  EXPECT_TRUE(writeFanTarget(*smc_, 9000, 0));  // above the most, 6200
  EXPECT_THAT(
      *installed_.journal,
      ElementsAre("call 1 read FNum size 1 -> 02", "call 1 read F0Tg size 2 -> 0000",
                  "open type 0 -> connection 2", "call 2 write F0Tg size 2 bytes 0190 -> done",
                  "close 2 -> done", "call 1 read FNum size 1 -> 02",
                  "call 1 read F0Tg size 2 -> 0190", "open type 0 -> connection 3",
                  "call 3 write F0Tg size 2 bytes 8CA0 -> done", "close 3 -> done"));
}

TEST_F(FanTarget, TargetOfAnyOtherTypeIsFalseAndNothingIsWritten) {
  for (const char* type : {"ui8 ", "ui32", "sp78", "fp2e", "fpe1", "si16", "flag", "hex_"}) {
    start(type, {0, 0});
    EXPECT_FALSE(writeFanTarget(*smc_, 1200, 0)) << type;
    EXPECT_THAT(writes(), IsEmpty()) << type;
  }
  auto shortened = key("F0Tg", "", {0, 0, 0, 0});
  shortened.type = {'f', 'l', 't', '\0'};
  installed_ = install(machineWith({shortened, key("FNum", "ui8 ", {1})}));
  smc_ = QXSMCInterface::init();
  EXPECT_FALSE(writeFanTarget(*smc_, 1200, 0));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(FanTarget, FanWithoutATargetKeyIsFalseAndNothingIsWritten) {
  start("fpe2", {0, 0});
  EXPECT_FALSE(writeFanTarget(*smc_, 1200, 1));
  EXPECT_THAT(*installed_.journal, ElementsAre("call 1 read FNum size 1 -> 02"));
}

TEST_F(FanTarget, FailedWriteIsFalse) {
  platform::Simulation simulation;
  simulation.faults = {faultOf("F0Tg", 6)};
  start("fpe2", {0, 0}, simulation);
  EXPECT_FALSE(writeFanTarget(*smc_, 1200, 0));
  EXPECT_THAT(writes(), ElementsAre("call 2 write F0Tg size 2 bytes 12C0 -> status e00002c2"));
}

}  // namespace
}  // namespace halvarin::test
