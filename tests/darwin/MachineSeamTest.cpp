#include <gtest/gtest.h>

#include <memory>

#include "base/Exception.h"
#include "platform/Clock.h"
#include "platform/machine/BareComputer.h"
#include "platform/machine/CurrentMachine.h"

// The seam of macOS itself, in a program of its own: other tests choose machines.

namespace halvarin::test {
namespace {

using platform::BareComputer;

TEST(MachineSeam, AnotherMachineIsRefusedAndNothingChanges) {
  const auto computer = platform::currentMachine();
  EXPECT_FALSE(platform::machineMayBeChosen());
  EXPECT_THROW(platform::setMachine(std::make_shared<BareComputer>()), Exception);
  EXPECT_EQ(platform::currentMachine(), computer);
}

TEST(MachineSeam, TheComputerItselfIsOneWithoutAControllerOfOurs) {
  EXPECT_FALSE(platform::currentMachine()->hasService("AppleSMC"));
}

TEST(MachineSeam, AClockMayStillBeChosen) {
  const auto clock = std::make_shared<platform::ScaledClock>(10);
  platform::setMachine(nullptr, clock);
  EXPECT_EQ(platform::currentClock(), clock);
}

}  // namespace
}  // namespace halvarin::test
