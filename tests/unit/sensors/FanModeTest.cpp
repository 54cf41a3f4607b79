// How a fan is forced and handed back: which key is written, and with what.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sensors/FanCommands.h"
#include "tests/support/SmallController.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FanMode : public SmallController {};

TEST_F(FanMode, UpperCaseModeKeyOfSize1IsWrittenWith01AndTheForceBitsAreNotTouched) {
  start({key("F0Md", "ui8 ", {0}), key("FNum", "ui8 ", {1}), key("FS! ", "ui16", {0, 0})});
  EXPECT_TRUE(writeFanMode(*smc_, 1, 0));
  EXPECT_THAT(*installed_.journal,
              ElementsAre("call 1 read FNum size 1 -> 01", "call 1 read F0Md size 1 -> 00",
                          "open type 0 -> connection 2",
                          "call 2 write F0Md size 1 bytes 01 -> done", "close 2 -> done"));
}

TEST_F(FanMode, UpperCaseModeKeyWinsOverTheLowerCaseOne) {
  start({key("F0Md", "ui8 ", {1}), key("F0md", "ui8 ", {1}), key("FNum", "ui8 ", {1}),
         key("FS! ", "ui16", {0, 1})});
  EXPECT_TRUE(writeFanMode(*smc_, 0, 0));
  EXPECT_THAT(writes(), ElementsAre("call 2 write F0Md size 1 bytes 00 -> done"));
}

TEST_F(FanMode, LowerCaseModeKeyWinsOverTheForceBits) {
  start({key("F0md", "ui8 ", {0}), key("FNum", "ui8 ", {1}), key("FS! ", "ui16", {0, 0})});
  EXPECT_TRUE(writeFanMode(*smc_, 1, 0));
  EXPECT_THAT(*installed_.journal,
              ElementsAre("call 1 read FNum size 1 -> 01", "call 1 read F0md size 1 -> 00",
                          "open type 0 -> connection 2",
                          "call 2 write F0md size 1 bytes 01 -> done", "close 2 -> done"));
}

TEST_F(FanMode, ModeKeyOfAnotherFanIsNotTaken) {
  start({key("F1Md", "ui8 ", {0}), key("FNum", "ui8 ", {11}), key("FS! ", "ui16", {0, 0})});
  EXPECT_TRUE(writeFanMode(*smc_, 1, 0));
  EXPECT_THAT(writes(), ElementsAre("call 2 write FS!  size 2 bytes 0001 -> done"));
}

TEST_F(FanMode, Fan10HasTheDigitA) {
  start({key("FAMd", "ui8 ", {0}), key("FNum", "ui8 ", {11})});
  EXPECT_TRUE(writeFanMode(*smc_, 1, 10));
  EXPECT_THAT(writes(), ElementsAre("call 2 write FAMd size 1 bytes 01 -> done"));
}

TEST_F(FanMode, ModeIsWrittenSignExtendedInTheSizeOfItsKey) {
  struct Row {
    signed char mode;
    Bytes zeros;
    const char* wire;
  };
  for (const Row& row : std::vector<Row>{{2, {0}, "size 1 bytes 02"},
                                         {-1, {0}, "size 1 bytes FF"},
                                         {1, {0, 0}, "size 2 bytes 0001"},
                                         {-1, {0, 0}, "size 2 bytes FFFF"},
                                         {1, {0, 0, 0, 0}, "size 4 bytes 00000001"},
                                         {-128, {0, 0, 0, 0}, "size 4 bytes FFFFFF80"},
                                         {1, {0, 0, 0}, "size 3 bytes 010000"}}) {
    start({key("F0Md", "hex_", row.zeros), key("FNum", "ui8 ", {1})});
    EXPECT_TRUE(writeFanMode(*smc_, row.mode, 0));
    EXPECT_THAT(writes(), ElementsAre("call 2 write F0Md " + std::string(row.wire) + " -> done"));
  }
}

TEST_F(FanMode, ModeKeyThatCannotBeReadIsWrittenAllTheSame) {
  platform::Simulation simulation;
  simulation.faults = {faultOf("F0Md", 5)};
  start({key("F0Md", "ui8 ", {0}), key("FNum", "ui8 ", {1}), key("FS! ", "ui16", {0, 0})},
        simulation);
  EXPECT_TRUE(writeFanMode(*smc_, 1, 0));
  EXPECT_THAT(writes(), ElementsAre("call 2 write F0Md size 1 bytes 01 -> done"));
}

TEST_F(FanMode, OnlyTheForceBits0002BecomeWith1ForFan0The0003AndWith0ForFan1The0001) {
  start({key("FNum", "ui8 ", {2}), key("FS! ", "ui16", {0, 2})});
  EXPECT_TRUE(writeFanMode(*smc_, 1, 0));
  EXPECT_TRUE(writeFanMode(*smc_, 0, 1));
  EXPECT_THAT(
      *installed_.journal,
      ElementsAre("call 1 read FNum size 1 -> 02", "call 1 read FS!  size 2 -> 0002",
                  "open type 0 -> connection 2", "call 2 write FS!  size 2 bytes 0003 -> done",
                  "close 2 -> done", "call 1 read FNum size 1 -> 02",
                  "call 1 read FS!  size 2 -> 0003", "open type 0 -> connection 3",
                  "call 3 write FS!  size 2 bytes 0001 -> done", "close 3 -> done"));
}

TEST_F(FanMode, AnyModeBut0SetsTheForceBitAndTheOtherFansBitsStay) {
  start({key("FNum", "ui8 ", {8}), key("FS! ", "ui16", {0, 0xA5})});
  EXPECT_TRUE(writeFanMode(*smc_, -128, 3));
  EXPECT_TRUE(writeFanMode(*smc_, 0, 7));
  EXPECT_TRUE(writeFanMode(*smc_, 0, 6));
  EXPECT_THAT(writes(), ElementsAre("call 2 write FS!  size 2 bytes 00AD -> done",
                                    "call 3 write FS!  size 2 bytes 002D -> done",
                                    "call 4 write FS!  size 2 bytes 002D -> done"));
}

TEST_F(FanMode, DeliberateForceBitsAreTakenByTheirSmallerByteOrderAsEveryUi16Is) {
  start({key("FNum", "ui8 ", {16}), key("FS! ", "ui16", {0xA0, 0x05})});
  EXPECT_TRUE(writeFanMode(*smc_, 1, 3));
  EXPECT_THAT(writes(), ElementsAre("call 2 write FS!  size 2 bytes 05A8 -> done"));
}

TEST_F(FanMode, ForceBitsAreWrittenInTheirOwnSize) {
  start({key("FNum", "ui8 ", {32}), key("FS! ", "ui32", {0, 0, 0, 1})});
  EXPECT_TRUE(writeFanMode(*smc_, 1, 31));
  EXPECT_THAT(writes(), ElementsAre("call 2 write FS!  size 4 bytes 80000001 -> done"));
  start({key("FNum", "ui8 ", {2}), key("FS! ", "ui8 ", {1})});
  EXPECT_TRUE(writeFanMode(*smc_, 1, 1));
  EXPECT_THAT(writes(), ElementsAre("call 2 write FS!  size 1 bytes 03 -> done"));
}

TEST_F(FanMode, DeliberateForceBitsRepeatAfter32FansAndThoseBeyondTheKeyAreLost) {
  start({key("FNum", "ui8 ", {40}), key("FS! ", "ui16", {0, 0})});
  EXPECT_TRUE(writeFanMode(*smc_, 1, 33));
  EXPECT_TRUE(writeFanMode(*smc_, 1, 17));
  EXPECT_THAT(writes(), ElementsAre("call 2 write FS!  size 2 bytes 0002 -> done",
                                    "call 3 write FS!  size 2 bytes 0002 -> done"));
}

TEST_F(FanMode, WithoutAnyOfTheThreeKeysNothingIsWritten) {
  start({key("FNum", "ui8 ", {1})});
  EXPECT_FALSE(writeFanMode(*smc_, 1, 0));
  EXPECT_THAT(*installed_.journal, ElementsAre("call 1 read FNum size 1 -> 01"));
}

TEST_F(FanMode, FailedWriteIsFalse) {
  platform::Simulation simulation;
  simulation.faults = {faultOf("F0Md", 6), faultOf("FS! ", 6)};
  start({key("F0Md", "ui8 ", {0}), key("FNum", "ui8 ", {2}), key("FS! ", "ui16", {0, 0})},
        simulation);
  EXPECT_FALSE(writeFanMode(*smc_, 1, 0));
  EXPECT_FALSE(writeFanMode(*smc_, 1, 1));
  EXPECT_THAT(writes(), ElementsAre("call 2 write F0Md size 1 bytes 01 -> status e00002c2",
                                    "call 3 write FS!  size 2 bytes 0002 -> status e00002c2"));
}

TEST_F(FanMode, DeliberateForceBitsThatCannotBeReadCountAsTheirRecordHoldsThem) {
  platform::RecordedKey bits = key("FS! ", "ui16", {0, 2});
  bits.status = static_cast<std::int32_t>(0xE00002C2);
  start({key("FNum", "ui8 ", {2}), bits});
  EXPECT_TRUE(writeFanMode(*smc_, 1, 0));
  // The record never held a value, which counts as no bit: the bit of fan 1 is lost.
  EXPECT_THAT(writes(), ElementsAre("call 2 write FS!  size 2 bytes 0001 -> done"));
}

}  // namespace
}  // namespace halvarin::test
