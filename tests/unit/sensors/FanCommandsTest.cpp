#include "sensors/FanCommands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SmallController.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FanCommands : public SmallController {
 protected:
  /// The same on a machine with a fault.
  void startWithFault(std::vector<platform::RecordedKey> keys,
                      const platform::TransferFault& fault) {
    platform::Simulation simulation;
    simulation.faults = {fault};
    start(std::move(keys), std::move(simulation));
  }
};

// ---- test flag ---------------------------------------------------------------------------------

TEST_F(FanCommands, TestFlagIsReadAndWrittenOnceOnAConnectionOfItsOwn) {
  start({key("Ftst", "ui8 ", {0})});
  EXPECT_TRUE(switchFanTestFlag(*smc_, true));
  EXPECT_THAT(*installed_.journal,
              ElementsAre("call 1 read Ftst size 1 -> 00", "open type 0 -> connection 2",
                          "call 2 write Ftst size 1 bytes 01 -> done", "close 2 -> done"));
  EXPECT_EQ(transfers(), 2U);
}

TEST_F(FanCommands, TestFlagIsSwitchedOffWith0) {
  start({key("Ftst", "ui8 ", {1})});
  EXPECT_TRUE(switchFanTestFlag(*smc_, false));
  EXPECT_THAT(writes(), ElementsAre("call 2 write Ftst size 1 bytes 00 -> done"));
}

TEST_F(FanCommands, TestFlagIsWrittenInItsOwnSize) {
  start({key("Ftst", "ui16", {0, 0})});
  EXPECT_TRUE(switchFanTestFlag(*smc_, true));
  EXPECT_THAT(writes(), ElementsAre("call 2 write Ftst size 2 bytes 0001 -> done"));
  start({key("Ftst", "ui32", {0, 0, 0, 0})});
  EXPECT_TRUE(switchFanTestFlag(*smc_, true));
  EXPECT_THAT(writes(), ElementsAre("call 2 write Ftst size 4 bytes 00000001 -> done"));
  start({key("Ftst", "hex_", {0, 0, 0})});
  EXPECT_TRUE(switchFanTestFlag(*smc_, true));
  EXPECT_THAT(writes(), ElementsAre("call 2 write Ftst size 3 bytes 010000 -> done"));
}

TEST_F(FanCommands, WithoutATestFlagNothingIsTransferred) {
  start({key("FNum", "ui8 ", {1})});
  EXPECT_FALSE(switchFanTestFlag(*smc_, true));
  EXPECT_THAT(*installed_.journal, IsEmpty());
}

TEST_F(FanCommands, FailedWriteOfTheTestFlagIsFalse) {
  startWithFault({key("Ftst", "ui8 ", {0})}, faultOf("Ftst", 6));
  EXPECT_FALSE(switchFanTestFlag(*smc_, true));
  EXPECT_THAT(writes(), ElementsAre("call 2 write Ftst size 1 bytes 01 -> status e00002c2"));
}

// ---- which fan ---------------------------------------------------------------------------------

std::vector<platform::RecordedKey> oneFanOfTwo() {
  return {key("F0Md", "ui8 ", {0}), key("F0Tg", "fpe2", {0, 0}), key("FNum", "ui8 ", {2}),
          key("FS! ", "ui16", {0, 0})};
}

TEST_F(FanCommands, FanIndexEqualToTheCountIsFalseAndOnlyTheCountIsRead) {
  start(oneFanOfTwo());
  EXPECT_FALSE(writeFanMode(*smc_, 1, 2));
  EXPECT_FALSE(writeFanTarget(*smc_, 1200, 2));
  EXPECT_THAT(*installed_.journal,
              ElementsAre("call 1 read FNum size 1 -> 02", "call 1 read FNum size 1 -> 02"));
}

TEST_F(FanCommands, FanIndexAboveTheCountIsFalse) {
  start(oneFanOfTwo());
  EXPECT_FALSE(writeFanMode(*smc_, 1, 0xFFFFFFFF));
  EXPECT_FALSE(writeFanTarget(*smc_, 1200, 3));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(FanCommands, WithoutACountNothingIsTransferred) {
  start({key("F0Md", "ui8 ", {0}), key("F0Tg", "fpe2", {0, 0}), key("FS! ", "ui16", {0, 0})});
  EXPECT_FALSE(writeFanMode(*smc_, 1, 0));
  EXPECT_FALSE(writeFanTarget(*smc_, 1200, 0));
  EXPECT_THAT(*installed_.journal, IsEmpty());
}

TEST_F(FanCommands, CountThatWasNeverReadIsFalseAndNothingIsWritten) {
  startWithFault(oneFanOfTwo(), faultOf("FNum", 5));
  EXPECT_FALSE(writeFanMode(*smc_, 1, 0));
  EXPECT_FALSE(writeFanTarget(*smc_, 1200, 0));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(FanCommands, CountThatCanNoLongerBeReadIsFalseAndNothingIsWritten) {
  // Listing takes 12 transfers, the first command 3.
  startWithFault(oneFanOfTwo(), faultOf("FNum", 5, 16));
  EXPECT_TRUE(writeFanMode(*smc_, 1, 0));
  EXPECT_EQ(transfers(), 3U);
  installed_.journal->clear();
  EXPECT_FALSE(writeFanMode(*smc_, 1, 0));
  EXPECT_FALSE(writeFanTarget(*smc_, 1200, 0));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(FanCommands, CountThatTheControllerRefusesIsFalse) {
  auto keys = oneFanOfTwo();
  keys[2].result = platform::kResultNotReadable;
  start(keys);
  EXPECT_FALSE(writeFanMode(*smc_, 1, 0));
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(FanCommands, VanishedServiceIsFalse) {
  platform::Simulation simulation;
  simulation.vanishAfter = 12;
  start(oneFanOfTwo(), simulation);
  EXPECT_FALSE(writeFanMode(*smc_, 1, 0));
  EXPECT_FALSE(writeFanTarget(*smc_, 1200, 0));
  EXPECT_THAT(writes(), IsEmpty());
}

}  // namespace
}  // namespace halvarin::test
