#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "platform/machine/SimulatedMachine.h"
#include "tests/unit/platform/SimulatedMachineBench.h"

namespace halvarin::test {

namespace {

using platform::fourBytes;
using platform::MachineStatus;
using platform::SimulatedMachine;
using platform::Simulation;

using ::testing::ElementsAre;

TEST(SimulatedMachine, FailsTransfersOfAKey) {
  Simulation simulation;
  simulation.faults = {{fourBytes("TC0P"), {}, 1, UINT64_MAX, kNoDevice}};
  Bench bench(std::move(simulation));
  const Answer read = bench.send(request(kRead, "TC0P", 2));
  EXPECT_EQ(read.status, kNoDevice);
  EXPECT_EQ(read.wire[48], kUntouched);
  EXPECT_EQ(bench.send(request(kKeyInfo, "TC0P")).status, kNoDevice);
  EXPECT_EQ(bench.send(request(kRead, "F0Mn", 2)).status, 0);
}

TEST(SimulatedMachine, FailsTransfersOfACommand) {
  Simulation simulation;
  simulation.faults = {{{}, kWrite, 1, UINT64_MAX, 5}};
  Bench bench(std::move(simulation));
  EXPECT_EQ(bench.send(request(kWrite, "F0Mn", 2, {0x11, 0x22})).status, 5);
  EXPECT_EQ(bench.read("F0Mn", 2), (Bytes{0x12, 0xC0}));  // the failed write changed nothing
  EXPECT_EQ(bench.send(request(kKeyInfo, "F0Mn")).status, 0);
}

TEST(SimulatedMachine, FailsTransfersByTheirNumber) {
  Simulation simulation;
  simulation.faults = {{{}, {}, 2, 3, 5}};
  Bench bench(std::move(simulation));
  std::vector<MachineStatus> statuses;
  for (int i = 0; i < 5; ++i) {
    statuses.push_back(bench.send(request(kRead, "TC0P", 2)).status);
  }
  EXPECT_THAT(statuses, ElementsAre(0, 5, 5, 0, 0));
}

TEST(SimulatedMachine, CountsRefusedAndFailedTransfersForTheirNumbers) {
  Simulation simulation;
  simulation.faults = {{{}, {}, 1, 1, 5}, {{}, {}, 4, 4, 6}};
  Bench bench(std::move(simulation));
  EXPECT_EQ(bench.send(request(kRead, "TC0P", 2)).status, 5);
  EXPECT_EQ(bench.send(request(kRead, "TC9P", 2)).result(), 0x84);
  EXPECT_EQ(bench.send(request(kRead, "SBIG", 2)).status, kBadArgument);
  EXPECT_EQ(bench.machine->transferCount(), 3U);
  EXPECT_EQ(bench.send(request(kRead, "TC0P", 2)).status, 6);
  EXPECT_EQ(bench.machine->transferCount(), 4U);
}

TEST(SimulatedMachine, TakesTheFirstFaultThatFitsInEverything) {
  Simulation simulation;
  simulation.faults = {{fourBytes("TC0P"), kWrite, 1, UINT64_MAX, 5},
                       {fourBytes("TC0P"), kRead, 2, UINT64_MAX, 6},
                       {fourBytes("TC0P"), {}, 1, UINT64_MAX, 7},
                       {{}, {}, 1, UINT64_MAX, 8}};
  Bench bench(std::move(simulation));
  EXPECT_EQ(bench.send(request(kRead, "TC0P", 2)).status, 7);
  EXPECT_EQ(bench.send(request(kRead, "TC0P", 2)).status, 6);
  EXPECT_EQ(bench.send(request(kWrite, "TC0P", 2)).status, 5);
  EXPECT_EQ(bench.send(request(kKeyInfo, "TC0P")).status, 7);
  EXPECT_EQ(bench.send(request(kRead, "F0Mn", 2)).status, 8);
}

TEST(SimulatedMachine, LetsAFaultReplaceTheStatusThatAKeyWasRecordedWith) {
  Simulation simulation;
  simulation.faults = {{fourBytes("SBIG"), {}, 1, UINT64_MAX, kNoDevice}};
  Bench bench(std::move(simulation));
  EXPECT_EQ(bench.send(request(kRead, "SBIG", 2)).status, kNoDevice);
}

TEST(SimulatedMachine, VanishesAfterItsTransfers) {
  Simulation simulation;
  simulation.vanishAfter = 2;
  Bench bench(std::move(simulation));
  EXPECT_TRUE(bench.machine->hasService("AppleSMC"));
  EXPECT_EQ(bench.send(request(kRead, "TC0P", 2)).status, 0);
  EXPECT_TRUE(bench.machine->hasService("AppleSMC"));
  EXPECT_EQ(bench.send(request(kRead, "TC0P", 2)).status, 0);
  EXPECT_FALSE(bench.machine->hasService("AppleSMC"));
  EXPECT_EQ(bench.send(request(kRead, "TC0P", 2)).status, kNoDevice);
  std::uint32_t connection = 77;
  EXPECT_EQ(bench.machine->open(0, connection), kNoDevice);
  EXPECT_EQ(connection, 77U);
  EXPECT_EQ(bench.machine->close(bench.connection), 0);  // what is open can still be given back
}

TEST(SimulatedMachine, IsGoneFromTheBeginningAfterNoTransfers) {
  Simulation simulation;
  simulation.vanishAfter = 0;
  SimulatedMachine machine(smallMachine(), std::move(simulation));
  std::uint32_t connection = 77;
  EXPECT_FALSE(machine.hasService("AppleSMC"));
  EXPECT_EQ(machine.open(0, connection), kNoDevice);
  EXPECT_EQ(connection, 77U);
}

}  // namespace

}  // namespace halvarin::test
