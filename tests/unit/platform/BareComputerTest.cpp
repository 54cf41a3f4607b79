#include "platform/machine/BareComputer.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace halvarin::test {

namespace {

using platform::BareComputer;
using platform::MachineStatus;

constexpr auto kNoDevice = static_cast<MachineStatus>(0xE00002C0);
constexpr MachineStatus kInvalidDestination = 0x10000003;

TEST(BareComputer, HasNoController) {
  BareComputer computer;
  EXPECT_FALSE(computer.hasService("AppleSMC"));
  EXPECT_FALSE(computer.hasService(""));
}

TEST(BareComputer, OpensNothingAndLeavesTheNumberAsItWas) {
  BareComputer computer;
  std::uint32_t connection = 77;
  EXPECT_EQ(computer.open(0, connection), kNoDevice);
  EXPECT_EQ(connection, 77U);
}

TEST(BareComputer, KnowsNoConnectionToCallOrToClose) {
  BareComputer computer;
  const std::array<std::uint8_t, 80> request{};
  std::array<std::uint8_t, 80> reply{};
  reply.fill(0xAA);
  const auto before = reply;
  std::size_t size = reply.size();
  EXPECT_EQ(computer.call(1, 2, request, reply, size), kInvalidDestination);
  EXPECT_EQ(reply, before);
  EXPECT_EQ(size, reply.size());
  EXPECT_EQ(computer.close(1), kInvalidDestination);
}

TEST(BareComputer, KnowsItsLogicalProcessorsAndNothingElse) {
  BareComputer computer;
  const Value processors = computer.setting("hw.logicalcpu");
  EXPECT_TRUE(processors.isInteger());
  EXPECT_GE(processors.intValue(), 1);
  EXPECT_TRUE(computer.setting("hw.model").isNothing());
  EXPECT_TRUE(computer.setting("machdep.cpu.brand_string").isNothing());
  EXPECT_TRUE(computer.setting("").isNothing());
}

TEST(BareComputer, HasNoPowerSourceToName) {
  EXPECT_EQ(BareComputer().powerSource(), "");
}

}  // namespace

}  // namespace halvarin::test
