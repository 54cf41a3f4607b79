#include "platform/machine/linux/LinuxMachine.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>

#include "tests/support/AppleSiliconTree.h"
#include "tests/unit/platform/DriverBench.h"

namespace halvarin::test {
namespace {

using platform::LinuxMachine;
using platform::MachineStatus;

constexpr MachineStatus kInvalidDestination = 0x10000003;
constexpr auto kNoDevice = static_cast<MachineStatus>(0xE00002C0);
constexpr auto kNotPrivileged = static_cast<MachineStatus>(0xE00002C1);
constexpr auto kBadArgument = static_cast<MachineStatus>(0xE00002C2);
constexpr auto kUnsupported = static_cast<MachineStatus>(0xE00002C7);

using Wire = std::array<std::uint8_t, platform::kCallBytes>;

/// A request to read TC0P, byte by byte.
Wire readRequest() {
  Wire wire{};
  wire[0] = 'P';
  wire[1] = '0';
  wire[2] = 'C';
  wire[3] = 'T';
  wire[28] = 2;
  wire[42] = 5;
  return wire;
}

class MacUnderLinux : public testing::Test {
 protected:
  std::shared_ptr<LinuxMachine> newMachine(const DriverBench& bench) {
    return std::make_shared<LinuxMachine>(bench.driver(), bench.found(),
                                          std::make_shared<platform::ScaledClock>(0));
  }
  const DriverBench bench_{machineWith({key("TC0P", "sp78", {0x2D, 0x80})}, "MacBookPro15,1")};
  const std::shared_ptr<LinuxMachine> machine_ = newMachine(bench_);
};

TEST_F(MacUnderLinux, HasTheOneService) {
  EXPECT_TRUE(machine_->hasService("AppleSMC"));
  EXPECT_FALSE(machine_->hasService("AppleSMCX"));
  EXPECT_FALSE(machine_->hasService(""));
}

TEST_F(MacUnderLinux, AnswersOnOpenConnectionsOnly) {
  std::uint32_t first = 0;
  std::uint32_t second = 0;
  ASSERT_EQ(machine_->open(0, first), 0);
  ASSERT_EQ(machine_->open(0, second), 0);
  EXPECT_NE(first, 0U);
  EXPECT_NE(first, second);
  Wire reply{};
  std::size_t size = reply.size();
  EXPECT_EQ(machine_->call(first, 2, readRequest(), reply, size), 0);
  EXPECT_EQ(size, 80U);
  EXPECT_EQ(reply[40], 0);
  EXPECT_EQ(reply[48], 0x2D);
  EXPECT_EQ(reply[49], 0x80);
  EXPECT_EQ(machine_->close(first), 0);
  EXPECT_EQ(machine_->close(first), kInvalidDestination);
  EXPECT_EQ(machine_->call(first, 2, readRequest(), reply, size), kInvalidDestination);
  EXPECT_EQ(machine_->call(second, 2, readRequest(), reply, size), 0);
}

TEST_F(MacUnderLinux, TakesWholeRecordsOfTheOneSelectorOnly) {
  std::uint32_t connection = 0;
  ASSERT_EQ(machine_->open(0, connection), 0);
  const Wire request = readRequest();
  Wire reply{};
  std::size_t size = reply.size();
  EXPECT_EQ(machine_->call(connection, 3, readRequest(), reply, size), kUnsupported);
  EXPECT_EQ(machine_->call(connection, 2, std::span(request).first(79), reply, size), kBadArgument);
  EXPECT_EQ(machine_->call(connection, 2, readRequest(), std::span(reply).first(79), size),
            kBadArgument);
}

TEST_F(MacUnderLinux, LeavesAReplyAloneWhenThereIsNone) {
  std::uint32_t connection = 0;
  ASSERT_EQ(machine_->open(0, connection), 0);
  bench_.driver()->setSilent(true);
  Wire reply{};
  reply.fill(0xAA);
  const Wire before = reply;
  std::size_t size = reply.size();
  EXPECT_EQ(machine_->call(connection, 2, readRequest(), reply, size),
            platform::kStatusTransferFailed);
  EXPECT_EQ(reply, before);
}

TEST_F(MacUnderLinux, IsNotOpenedByThoseWhoMayNotAskForKeys) {
  DriverScript script;
  script.denied = {"key_at_index"};
  const DriverBench bench(machineWith({}), script);
  const auto machine = newMachine(bench);
  std::uint32_t connection = 77;
  EXPECT_TRUE(machine->hasService("AppleSMC"));
  EXPECT_EQ(machine->open(0, connection), kNotPrivileged);
  EXPECT_EQ(connection, 77U);
}

TEST_F(MacUnderLinux, KnowsWhatItIsAndWhatFeedsIt) {
  EXPECT_EQ(machine_->setting("hw.model").textView(), "MacBookPro15,1");
  EXPECT_EQ(machine_->setting("machdep.cpu.brand_string").textView(), "Intel(R) Test CPU");
  EXPECT_GE(machine_->setting("hw.logicalcpu").intValue(), 1);
  EXPECT_TRUE(machine_->setting("hw.ncpu").isNothing());
  EXPECT_EQ(machine_->powerSource(), "AC Power");
}

TEST(MacWithAppleSiliconUnderLinux, HasAServiceAnIdentityAndKeys) {
  const TemporaryFolder folder;
  layOutAppleSilicon(folder);
  const auto files = std::make_shared<platform::DiskTree>(folder.path().string());
  LinuxMachine machine(files, *platform::findSmcDriver(*files),
                       std::make_shared<platform::ScaledClock>(0));
  EXPECT_TRUE(machine.hasService("AppleSMC"));
  EXPECT_EQ(machine.setting("hw.model").textView(), "MacBookPro17,1");
  EXPECT_EQ(machine.setting("machdep.cpu.brand_string").textView(), "Apple M1");
  EXPECT_EQ(machine.powerSource(), "Battery Power");
  std::uint32_t connection = 0;
  EXPECT_EQ(machine.open(0, connection), 0);
}

TEST(MacWithoutItsDriver, HasNoService) {
  const auto files = std::make_shared<platform::DiskTree>("/nowhere");
  LinuxMachine machine(files, {{}, "/sys/class/hwmon/hwmon3", ""},
                       std::make_shared<platform::ScaledClock>(0));
  std::uint32_t connection = 77;
  EXPECT_FALSE(machine.hasService("AppleSMC"));
  EXPECT_EQ(machine.open(0, connection), kNoDevice);
  EXPECT_EQ(connection, 77U);
  EXPECT_TRUE(machine.setting("hw.model").isNothing());
  EXPECT_TRUE(machine.setting("machdep.cpu.brand_string").isNothing());
}

}  // namespace
}  // namespace halvarin::test
