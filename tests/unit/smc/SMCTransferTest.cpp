#include "smc/SMCTransfer.h"

#include <IOKit/IOKitLib.h>
#include <gtest/gtest.h>

#include "smc/KeyCode.h"
#include "tests/support/Machines.h"
#include "tests/support/WireTap.h"

namespace halvarin::test {
namespace {

/// A shared connection to a machine with one temperature key.
class SMCTransfer : public testing::Test {
 protected:
  SMCTransfer() {
    tap_ = std::make_shared<WireTap>(std::make_shared<platform::SimulatedMachine>(
        machineWith({key("TC0P", "sp78", {0x3A, 0x80})})));
    platform::setMachine(tap_);
    std::uint32_t connection = 0;
    EXPECT_EQ(tap_->open(0, connection), 0);
    setSharedConnection(connection);
  }

  std::shared_ptr<WireTap> tap_;
};

TEST_F(SMCTransfer, SendsTheKeyAsWireIntegerInEightyBytes) {
  SMCCallRecord request;
  SMCCallRecord reply;
  request.key = recordInteger("TC0P");
  request.command = kSMCCmdGetKeyInfo;
  EXPECT_EQ(callSMC(request, reply), 0);
  ASSERT_EQ(tap_->requests().size(), 1U);
  WireTap::RawRecord expected(80, 0);
  // The wire integer is little-endian in memory, so its most significant character comes last.
  expected[0] = 'P';
  expected[1] = '0';
  expected[2] = 'C';
  expected[3] = 'T';
  expected[42] = 9;
  EXPECT_EQ(tap_->requests()[0], expected);
}

TEST_F(SMCTransfer, LeavesTheCallersRequestAsItWas) {
  SMCCallRecord request;
  SMCCallRecord reply;
  request.key = recordInteger("TC0P");
  request.command = kSMCCmdGetKeyInfo;
  EXPECT_EQ(callSMC(request, reply), 0);
  EXPECT_EQ(request.key, recordInteger("TC0P"));
}

TEST_F(SMCTransfer, TurnsTheReplysTypeAndKeyIntoRecordOrder) {
  SMCCallRecord request;
  SMCCallRecord reply;
  request.key = recordInteger("TC0P");
  request.command = kSMCCmdGetKeyInfo;
  EXPECT_EQ(callSMC(request, reply), 0);
  EXPECT_EQ(codeText(reply.keyInfo.dataType), "sp78");
  request.command = kSMCCmdReadKeyByIndex;
  request.data32 = 1;
  EXPECT_EQ(callSMC(request, reply), 0);
  EXPECT_EQ(codeText(reply.key), "TC0P");
}

TEST_F(SMCTransfer, DeliberateSendsTheTypeOfAReadUnswapped) {
  SMCCallRecord request;
  SMCCallRecord reply;
  request.key = recordInteger("TC0P");
  request.keyInfo.dataType = recordInteger("sp78");
  request.keyInfo.dataSize = 2;
  request.command = kSMCCmdReadBytes;
  EXPECT_EQ(callSMC(request, reply), 0);
  const auto sent = tap_->requests().back();
  EXPECT_EQ(std::string(sent.begin() + 32, sent.begin() + 36), "sp78");
  EXPECT_EQ(sent[28], 2);
}

TEST_F(SMCTransfer, DeliberateCountsWhatTheControllerRefusesAsSuccess) {
  SMCCallRecord request;
  SMCCallRecord reply;
  request.key = recordInteger("none");
  request.command = kSMCCmdReadBytes;
  EXPECT_EQ(callSMC(request, reply), 0);
  EXPECT_EQ(reply.result, 0x84);
}

TEST_F(SMCTransfer, ReportsThePlatformsStatus) {
  setSharedConnection(99);
  SMCCallRecord request;
  SMCCallRecord reply;
  EXPECT_EQ(callSMC(request, reply), MACH_SEND_INVALID_DEST);
}

}  // namespace
}  // namespace halvarin::test
