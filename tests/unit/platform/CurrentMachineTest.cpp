#include "platform/machine/CurrentMachine.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "platform/machine/HandleLedger.h"
#include "platform/machine/linux/DiskTree.h"
#include "platform/machine/linux/ThisComputer.h"
#include "tests/support/Machines.h"

namespace halvarin::test {

namespace {

using namespace std::chrono_literals;
using platform::currentClock;
using platform::currentMachine;
using platform::HandleCounts;
using platform::Machine;
using platform::ScaledClock;
using platform::setMachine;
using platform::SimulatedMachine;

std::shared_ptr<Machine> machineOfModel(const std::string& model) {
  return std::make_shared<SimulatedMachine>(machineWith({}, model));
}

class CurrentMachine : public ::testing::Test {
 protected:
  // Not the one that the test runs on, which may have a controller.
  CurrentMachine() {
    platform::placeThisComputerIn(std::make_shared<platform::DiskTree>("/nowhere"));
  }
  ~CurrentMachine() override { setMachine(nullptr); }
};

TEST_F(CurrentMachine, IsTheComputerItselfWithoutAChoice) {
  ASSERT_NE(currentMachine(), nullptr);
  EXPECT_FALSE(currentMachine()->hasService("AppleSMC"));
}

TEST_F(CurrentMachine, IsTheChosenOne) {
  const auto first = machineOfModel("First1,1");
  const auto second = machineOfModel("Second1,1");
  setMachine(first);
  EXPECT_EQ(currentMachine(), first);
  setMachine(second);
  EXPECT_EQ(currentMachine(), second);
}

TEST_F(CurrentMachine, IsTheComputerItselfAgainAfterNull) {
  setMachine(machineOfModel("First1,1"));
  setMachine(nullptr);
  ASSERT_NE(currentMachine(), nullptr);
  EXPECT_FALSE(currentMachine()->hasService("AppleSMC"));
}

TEST_F(CurrentMachine, LivesByTheComputersOwnClockWithoutAChoice) {
  ASSERT_NE(currentClock(), nullptr);
  EXPECT_EQ(currentClock()->realTime(90s), 90s);
}

TEST_F(CurrentMachine, LivesByTheClockChosenWithIt) {
  const auto machine = machineOfModel("First1,1");
  const auto clock = std::make_shared<ScaledClock>(10);
  setMachine(machine, clock);
  EXPECT_EQ(currentMachine(), machine);
  EXPECT_EQ(currentClock(), clock);
}

TEST_F(CurrentMachine, IsTheComputerItselfWhereOnlyAClockIsChosen) {
  const auto clock = std::make_shared<ScaledClock>(10);
  setMachine(nullptr, clock);
  EXPECT_FALSE(currentMachine()->hasService("AppleSMC"));
  EXPECT_EQ(currentClock(), clock);
}

TEST_F(CurrentMachine, LivesByTheComputersOwnClockAgainWhenChosenWithoutOne) {
  const auto own = currentClock();
  setMachine(machineOfModel("First1,1"), std::make_shared<ScaledClock>(10));
  setMachine(machineOfModel("Second1,1"));
  EXPECT_EQ(currentClock(), own);
}

TEST_F(CurrentMachine, LivesOnForThoseWhoHoldItAfterAnotherChoice) {
  setMachine(machineOfModel("First1,1"));
  const std::shared_ptr<Machine> held = currentMachine();
  setMachine(machineOfModel("Second1,1"));
  EXPECT_EQ(held->setting("hw.model").textView(), "First1,1");
}

TEST_F(CurrentMachine, MayBeChosenAndAskedForAtTheSameTime) {
  const auto first = machineOfModel("First1,1");
  const auto second = machineOfModel("Second1,1");
  setMachine(first);
  std::atomic<bool> ended{false};
  std::atomic<int> strangers{0};
  std::vector<std::thread> readers;
  for (int i = 0; i < 3; ++i) {
    readers.emplace_back([&] {
      while (!ended) {
        const auto machine = currentMachine();
        strangers += machine != first && machine != second ? 1 : 0;
      }
    });
  }
  for (int i = 0; i < 2000; ++i) {
    setMachine(i % 2 == 0 ? second : first);
  }
  ended = true;
  for (std::thread& reader : readers) {
    reader.join();
  }
  EXPECT_EQ(strangers, 0);
}

TEST_F(CurrentMachine, HasTheHandleCountsOfTheProcessBesideIt) {
  const HandleCounts before = platform::handleCounts();
  platform::handleLedger().countOpened();
  platform::handleLedger().countClosed();
  platform::handleLedger().countClosed();
  platform::handleLedger().countMatchingMade();
  EXPECT_EQ(platform::handleCounts().connectionsOpened, before.connectionsOpened + 1);
  EXPECT_EQ(platform::handleCounts().connectionsClosed, before.connectionsClosed + 2);
  EXPECT_EQ(platform::handleCounts().matchingsMade, before.matchingsMade + 1);
  EXPECT_EQ(platform::handleCounts().matchingsTaken, before.matchingsTaken);
}

}  // namespace

}  // namespace halvarin::test
