#include <gtest/gtest.h>

#include <memory>

#include "base/Exception.h"
#include "platform/Clock.h"
#include "platform/machine/BareComputer.h"
#include "platform/machine/CurrentMachine.h"
#include "tests/darwin/StandIn.h"

namespace halvarin::test {
namespace {

using platform::BareComputer;

TEST(MachineSeam, WhereTheSystemAnswersAnotherMachineIsRefusedAndNothingChanges) {
  const auto first = std::make_shared<BareComputer>();
  platform::setMachine(first);
  closeMachineChoice();
  EXPECT_FALSE(platform::machineMayBeChosen());
  EXPECT_THROW(platform::setMachine(std::make_shared<BareComputer>()), Exception);
  EXPECT_EQ(platform::currentMachine(), first);
}

TEST(MachineSeam, WhereTheSystemAnswersAClockMayStillBeChosen) {
  closeMachineChoice();
  const auto clock = std::make_shared<platform::ScaledClock>(10);
  platform::setMachine(nullptr, clock);
  EXPECT_EQ(platform::currentClock(), clock);
}

}  // namespace
}  // namespace halvarin::test
