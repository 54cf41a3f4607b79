#include "platform/machine/linux/ThisComputer.h"

#include <gtest/gtest.h>

#include <memory>

#include "platform/machine/CurrentMachine.h"
#include "tests/unit/platform/DriverBench.h"

namespace halvarin::test {
namespace {

using platform::thisComputer;

TEST(ThisComputer, IsAMacUnderLinuxWhereTheDriverIsThere) {
  const DriverBench bench(machineWith({}, "iMac19,1"));
  platform::placeThisComputerIn(bench.driver());
  EXPECT_TRUE(thisComputer()->hasService("AppleSMC"));
  EXPECT_EQ(thisComputer()->setting("hw.model").textView(), "iMac19,1");
  EXPECT_EQ(thisComputer(), thisComputer());
}

TEST(ThisComputer, IsOneWithoutAControllerElsewhere) {
  platform::placeThisComputerIn(std::make_shared<platform::DiskTree>("/nowhere"));
  EXPECT_FALSE(thisComputer()->hasService("AppleSMC"));
  EXPECT_TRUE(thisComputer()->setting("hw.model").isNothing());
}

TEST(ThisComputer, IsTheCurrentMachineWithoutAChoice) {
  const DriverBench bench(machineWith({}));
  platform::placeThisComputerIn(bench.driver());
  EXPECT_EQ(platform::currentMachine(), thisComputer());
  platform::setMachine(nullptr);
  EXPECT_EQ(platform::currentMachine(), thisComputer());
}

TEST(ThisComputer, IsNotLookedForWhileAnotherMachineIsChosen) {
  install(machineWith({}));
  EXPECT_EQ(platform::currentMachine()->setting("hw.model").textView(), "Test1,1");
  const DriverBench bench(machineWith({}, "iMac19,1"));
  platform::placeThisComputerIn(bench.driver());
  EXPECT_EQ(thisComputer()->setting("hw.model").textView(), "iMac19,1");
}

}  // namespace
}  // namespace halvarin::test
