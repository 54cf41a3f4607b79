#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/machine/SimulatedMachine.h"
#include "tests/unit/platform/SimulatedMachineBench.h"

namespace halvarin::test {

namespace {

using platform::fourBytes;
using platform::Simulation;

using ::testing::ElementsAre;
using namespace std::chrono_literals;

TEST(SimulatedMachine, WritesALineForEveryOpenCallAndClose) {
  std::vector<std::string> lines;
  Simulation simulation;
  simulation.journal = [&lines](std::string_view line) { lines.emplace_back(line); };
  simulation.faults = {{fourBytes("F0Mn"), kRead, 1, UINT64_MAX, kNoDevice}};
  simulation.vanishAfter = 9;
  Bench bench(std::move(simulation));
  bench.send(request(kKeyInfo, "TC0P"));
  bench.send(request(kRead, "TC0P", 2));
  bench.send(request(kRead, "TC0P", 3));
  bench.send(request(kWrite, "F0Mn", 2, {0x1F, 0x40}));
  bench.send(request(kRead, "F0Mn", 2));
  bench.send(indexRequest(4));
  bench.send(request(kRead, "SBIG", 2));
  bench.send(request(7, "TC0P"));
  send(*bench.machine, 9, request(kRead, "TC0P", 2));
  bench.send(request(kRead, "TC0P", 2));
  EXPECT_EQ(bench.machine->close(bench.connection), 0);
  EXPECT_EQ(bench.machine->close(bench.connection), kInvalidDestination);
  std::uint32_t connection = 0;
  EXPECT_EQ(bench.machine->open(3, connection), kNoDevice);
  EXPECT_THAT(lines, ElementsAre("open type 0 -> connection 1",                  //
                                 "call 1 info TC0P -> sp78 2",                   //
                                 "call 1 read TC0P size 2 -> 2880",              //
                                 "call 1 read TC0P size 3 -> result 87",         //
                                 "call 1 write F0Mn size 2 bytes 1F40 -> done",  //
                                 "call 1 read F0Mn size 2 -> status e00002c0",   //
                                 "call 1 index 4 -> TC0P",                       //
                                 "call 1 read SBIG size 2 -> status e00002c2",   //
                                 "call 1 command 7 -> result 82",                //
                                 "call 9 read TC0P size 2 -> status 10000003",   //
                                 "call 1 read TC0P size 2 -> status e00002c0",   //
                                 "close 1 -> done",                              //
                                 "close 1 -> status 10000003",                   //
                                 "open type 3 -> status e00002c0"));
}

TEST(SimulatedMachine, ShowsTheMovedReadingInTheJournal) {
  std::vector<std::string> lines;
  Simulation simulation = moving();
  simulation.journal = [&lines](std::string_view line) { lines.emplace_back(line); };
  Bench bench(std::move(simulation), warmMachine());
  bench.clock->advance(17s);
  const Bytes bytes = bench.read("TC0P", 2);
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string shown;
  for (const std::uint8_t byte : bytes) {
    shown += kDigits[byte / 16];
    shown += kDigits[byte % 16];
  }
  ASSERT_NE(shown, "2800");
  EXPECT_EQ(lines.back(), "call 1 read TC0P size 2 -> " + shown);
}

}  // namespace

}  // namespace halvarin::test
