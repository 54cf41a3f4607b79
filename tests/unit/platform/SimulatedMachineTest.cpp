#include "platform/machine/SimulatedMachine.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/Machines.h"
#include "tests/unit/platform/SimulatedMachineBench.h"

namespace halvarin::test {

namespace {

using platform::Clock;
using platform::MachineStatus;
using platform::RecordedKey;
using platform::RecordedMachine;
using platform::Simulation;

using namespace std::chrono_literals;

constexpr auto kUnsupported = static_cast<MachineStatus>(0xE00002C7);

// ---- the 80 bytes
// --------------------------------------------------------------------------------

TEST(SimulatedMachine, AnswersAReadWithTheKeysBytesAndZeros) {
  Bench bench;
  Wire wire{};
  wire[0] = 'P';
  wire[1] = '0';
  wire[2] = 'C';
  wire[3] = 'T';
  wire[28] = 2;
  wire[32] = 's';  // the type that a reader puts here means nothing to the controller
  wire[42] = 5;
  const Answer answer = bench.send(wire);
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.size, 80U);
  Wire expected{};
  expected[48] = 0x28;
  expected[49] = 0x80;
  EXPECT_EQ(answer.wire, expected);
}

TEST(SimulatedMachine, AnswersAKeyInfoWithSizeTypeAndAttributes) {
  Bench bench;
  const Answer answer = bench.send(request(kKeyInfo, "F0Mn"));
  EXPECT_EQ(answer.status, 0);
  Wire expected{};
  expected[28] = 2;
  expected[32] = '2';  // the type as a number whose most significant byte is its first character
  expected[33] = 'e';
  expected[34] = 'p';
  expected[35] = 'f';
  expected[36] = 0x80;
  EXPECT_EQ(answer.wire, expected);
}

TEST(SimulatedMachine, AnswersAnIndexWithTheKeyThere) {
  Bench bench;
  const Answer answer = bench.send(indexRequest(2));
  EXPECT_EQ(answer.status, 0);
  Wire expected{};
  expected[0] = 'n';
  expected[1] = 'M';
  expected[2] = '0';
  expected[3] = 'F';
  EXPECT_EQ(answer.wire, expected);
}

TEST(SimulatedMachine, AnswersAWriteWithNothingAndReadsItBack) {
  Bench bench;
  const Answer answer = bench.send(request(kWrite, "F0Mn", 2, {0x1F, 0x40, 0x99}));
  EXPECT_EQ(answer.status, 0);
  EXPECT_EQ(answer.wire, Wire{});
  EXPECT_EQ(bench.read("F0Mn", 2), (Bytes{0x1F, 0x40}));
  EXPECT_EQ(bench.send(request(kRead, "F0Mn", 2)).wire[50], 0);  // nothing beyond its size is kept
}

TEST(SimulatedMachine, TellsInTheResultByteWhatItCannotDo) {
  struct Row {
    const char* name;
    Wire wire;
    std::uint8_t result;
  };
  Bench bench;
  for (const Row& row : std::vector<Row>{
           {"read of an unknown key", request(kRead, "TC9P", 2), 0x84},
           {"write of an unknown key", request(kWrite, "TC9P", 2), 0x84},
           {"info of an unknown key", request(kKeyInfo, "TC9P"), 0x84},
           {"read of a key that refuses", request(kRead, "AC-E", 1), 0x85},
           {"read with a wrong size", request(kRead, "TC0P", 4), 0x87},
           {"write with a wrong size", request(kWrite, "F0Mn", 1, {0x11}), 0x87},
           {"index of the end", indexRequest(5), 0xB8},
           {"index with only high bits", indexRequest(0x01000000), 0xB8},
           {"command 0", request(0, "TC0P", 2), 0x82},
           {"command 7", request(7, "TC0P", 2), 0x82},
           {"command 10", request(10, "TC0P", 2), 0x82},
       }) {
    SCOPED_TRACE(row.name);
    const Answer answer = bench.send(row.wire);
    EXPECT_EQ(answer.status, 0);  // the transfer itself went well
    EXPECT_EQ(answer.size, 80U);
    Wire expected{};
    expected[40] = row.result;
    EXPECT_EQ(answer.wire, expected);
  }
  EXPECT_EQ(bench.read("F0Mn", 2), (Bytes{0x12, 0xC0}));  // the refused write changed nothing
}

TEST(SimulatedMachine, AnswersForTheNumberOfItsKeysWhereTheFileHasNone) {
  RecordedMachine uncounted = smallMachine();
  uncounted.keys.erase(uncounted.keys.begin());
  Bench bench({}, uncounted);
  EXPECT_EQ(bench.send(request(kKeyInfo, "#KEY")).wire[28], 4);
  EXPECT_EQ(bench.read("#KEY", 4), (Bytes{0, 0, 0, 4}));
  EXPECT_EQ(bench.send(indexRequest(4)).result(), 0xB8);
}

TEST(SimulatedMachine, AnswersForTheNumberOfItsKeysWhereItHasNoKeysAtAll) {
  Bench bench({}, RecordedMachine{"None1,1", "P", 1, "AC Power", {}});
  EXPECT_EQ(bench.read("#KEY", 4), (Bytes{0, 0, 0, 0}));
  EXPECT_EQ(bench.send(indexRequest(0)).result(), 0xB8);
}

TEST(SimulatedMachine, DeliversTheFirst32BytesOfALongKey) {
  Bytes all(32);
  for (std::size_t i = 0; i < all.size(); ++i) {
    all[i] = static_cast<std::uint8_t>(i + 1);
  }
  RecordedKey long_ = key("LONG", "hex_", all);
  long_.sizeBytes = 120;
  Bench bench({}, machineWith({long_}));
  EXPECT_EQ(bench.send(request(kKeyInfo, "LONG")).wire[28], 120);
  const Answer answer = bench.send(request(kRead, "LONG", 120));
  EXPECT_EQ(answer.result(), 0);
  EXPECT_EQ(answer.bytes(32), all);
  EXPECT_EQ(bench.send(request(kRead, "LONG", 32)).result(), 0x87);
}

TEST(SimulatedMachine, AnswersWithTheStatusThatAKeyWasRecordedWith) {
  Bench bench;
  const Answer read = bench.send(request(kRead, "SBIG", 2));
  EXPECT_EQ(read.status, kBadArgument);
  Wire untouched;
  untouched.fill(kUntouched);
  EXPECT_EQ(read.wire, untouched);
  EXPECT_EQ(bench.send(request(kKeyInfo, "SBIG")).status, 0);  // only the reading failed
  EXPECT_EQ(bench.send(indexRequest(3)).status, 0);
}

// ---- what is wrong with a call itself
// ------------------------------------------------------------

TEST(SimulatedMachine, KnowsNoSelectorButTheSecond) {
  Bench bench;
  for (const std::uint32_t selector : {0U, 1U, 3U, 5U, 0xFFFFFFFFU}) {
    Answer answer;
    answer.wire.fill(kUntouched);
    answer.size = 80;
    EXPECT_EQ(bench.machine->call(bench.connection, selector, request(kRead, "TC0P", 2),
                                  answer.wire, answer.size),
              kUnsupported);
    EXPECT_EQ(answer.size, 80U);
    EXPECT_EQ(answer.wire[48], kUntouched);
  }
}

TEST(SimulatedMachine, TakesRecordsOf80BytesOnly) {
  struct Row {
    std::size_t request;
    std::size_t reply;
  };
  Bench bench;
  const Wire good = request(kRead, "TC0P", 2);
  for (const Row& row :
       std::vector<Row>{{0, 80}, {79, 80}, {81, 80}, {160, 80}, {80, 0}, {80, 79}}) {
    Bytes asked(good.begin(), good.end());
    asked.resize(row.request);
    Bytes reply(row.reply, kUntouched);
    std::size_t size = reply.size();
    EXPECT_EQ(bench.machine->call(bench.connection, 2, asked, reply, size), kBadArgument)
        << row.request << " bytes in, " << row.reply << " out";
    EXPECT_EQ(size, row.reply);
    EXPECT_EQ(reply, Bytes(row.reply, kUntouched));
  }
}

TEST(SimulatedMachine, WritesNotMoreThan80BytesIntoALargerBuffer) {
  Bench bench;
  Bytes reply(100, kUntouched);
  std::size_t size = reply.size();
  EXPECT_EQ(bench.machine->call(bench.connection, 2, request(kRead, "TC0P", 2), reply, size), 0);
  EXPECT_EQ(size, 80U);
  EXPECT_EQ(reply[48], 0x28);
  EXPECT_EQ(Bytes(reply.begin() + 80, reply.end()), Bytes(20, kUntouched));
}

TEST(SimulatedMachine, AnswersOnOpenConnectionsOnly) {
  Bench bench;
  EXPECT_EQ(send(*bench.machine, bench.connection + 1, request(kRead, "TC0P", 2)).status,
            kInvalidDestination);
  EXPECT_EQ(send(*bench.machine, 0, request(kRead, "TC0P", 2)).status, kInvalidDestination);
  EXPECT_EQ(bench.machine->close(bench.connection), 0);
  const Answer closed = bench.send(request(kWrite, "F0Mn", 2, {0x11, 0x22}));
  EXPECT_EQ(closed.status, kInvalidDestination);
  EXPECT_EQ(closed.wire[0], kUntouched);
  EXPECT_EQ(bench.machine->close(bench.connection), kInvalidDestination);
  EXPECT_EQ(bench.machine->close(0), kInvalidDestination);
  EXPECT_EQ(readBytes(*bench.machine, opened(*bench.machine), "F0Mn", 2), (Bytes{0x12, 0xC0}));
}

TEST(SimulatedMachine, GivesEveryConnectionANumberOfItsOwn) {
  Bench bench;
  const std::uint32_t second = opened(*bench.machine);
  EXPECT_NE(bench.connection, 0U);
  EXPECT_NE(second, 0U);
  EXPECT_NE(second, bench.connection);
  EXPECT_EQ(bench.machine->close(bench.connection), 0);
  EXPECT_EQ(readBytes(*bench.machine, second, "TC0P", 2), (Bytes{0x28, 0x80}));
  EXPECT_NE(opened(*bench.machine), bench.connection);
}

TEST(SimulatedMachine, HasOneServiceOnly) {
  Bench bench;
  EXPECT_TRUE(bench.machine->hasService("AppleSMC"));
  EXPECT_FALSE(bench.machine->hasService("AppleSMCx"));
  EXPECT_FALSE(bench.machine->hasService("applesmc"));
  EXPECT_FALSE(bench.machine->hasService(""));
}

// ---- settings
// ------------------------------------------------------------------------------------

TEST(SimulatedMachine, TellsItsSettings) {
  Bench bench;
  EXPECT_EQ(bench.machine->setting("hw.model").textView(), "Test1,1");
  EXPECT_EQ(bench.machine->setting("machdep.cpu.brand_string").textView(), "Intel(R) Test CPU");
  EXPECT_TRUE(bench.machine->setting("hw.logicalcpu").isInteger());
  EXPECT_EQ(bench.machine->setting("hw.logicalcpu").intValue(), 4);
  EXPECT_TRUE(bench.machine->setting("hw.physicalcpu").isNothing());
  EXPECT_TRUE(bench.machine->setting("").isNothing());
  EXPECT_EQ(bench.machine->powerSource(), "AC Power");
}

// ---- time
// ----------------------------------------------------------------------------------------

TEST(SimulatedMachine, WaitsForItsLatencyInEveryTransfer) {
  Simulation simulation;
  simulation.latency = 3ms;
  Bench bench(std::move(simulation));
  const Clock::Duration start = bench.clock->now();
  EXPECT_EQ(bench.send(request(kRead, "TC0P", 2)).status, 0);
  EXPECT_EQ(bench.clock->now() - start, 3ms);
  EXPECT_EQ(bench.send(request(kRead, "TC9P", 2)).result(), 0x84);
  EXPECT_EQ(bench.send(indexRequest(0)).status, 0);
  EXPECT_EQ(bench.clock->now() - start, 9ms);
}

TEST(SimulatedMachine, TakesNoTimeWithoutALatency) {
  Bench bench;
  const Clock::Duration start = bench.clock->now();
  EXPECT_EQ(bench.send(request(kRead, "TC0P", 2)).status, 0);
  EXPECT_EQ(bench.clock->now(), start);
}

// ---- threads
// -------------------------------------------------------------------------------------

TEST(SimulatedMachine, AnswersManyThreadsAtOnce) {
  constexpr std::uint64_t kThreads = 4;
  constexpr std::uint64_t kRounds = 300;
  std::vector<std::string> lines;
  Simulation simulation = moving();
  simulation.latency = 1us;
  simulation.journal = [&lines](std::string_view line) { lines.emplace_back(line); };
  std::vector<RecordedKey> keys{key("TC0P", "sp78", {0x28, 0x00})};
  for (std::uint8_t i = 0; i < kThreads; ++i) {
    keys.push_back(key("F" + std::to_string(i) + "Mn", "ui8 ", {0}));
  }
  Bench bench(std::move(simulation), machineWith(keys));
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (std::uint64_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&bench, &wrong, i] {
      const std::string own = "F" + std::to_string(i) + "Mn";
      std::uint32_t connection = 0;
      wrong += bench.machine->open(0, connection) == 0 ? 0 : 1;
      for (std::uint64_t round = 0; round < kRounds; ++round) {
        const auto byte = static_cast<std::uint8_t>(round);
        wrong +=
            send(*bench.machine, connection, request(kWrite, own, 1, {byte})).status == 0 ? 0 : 1;
        const Answer back = send(*bench.machine, connection, request(kRead, own, 1));
        wrong += back.status == 0 && back.bytes(1) == Bytes{byte} ? 0 : 1;
        const Answer heat = send(*bench.machine, connection, request(kRead, "TC0P", 2));
        wrong += heat.status == 0 && heat.bytes(1) != Bytes{0} ? 0 : 1;
        wrong += bench.machine->setReading("TC0P", static_cast<double>(40 + i)) ? 0 : 1;
        wrong += bench.machine->hasService("AppleSMC") ? 0 : 1;
        wrong += bench.machine->transferCount() > round ? 0 : 1;
      }
      wrong += bench.machine->close(connection) == 0 ? 0 : 1;
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(bench.machine->transferCount(), 3 * kThreads * kRounds);
  EXPECT_EQ(lines.size(), 1 + 3 * kThreads * kRounds + 2 * kThreads);
}

}  // namespace

}  // namespace halvarin::test
