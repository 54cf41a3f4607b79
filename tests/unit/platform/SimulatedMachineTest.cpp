#include "platform/machine/SimulatedMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/Machines.h"

namespace halvarin::test {

namespace {

using platform::Clock;
using platform::fourBytes;
using platform::Machine;
using platform::MachineStatus;
using platform::RecordedKey;
using platform::RecordedMachine;
using platform::SimulatedMachine;
using platform::Simulation;
using platform::TransferFault;

using ::testing::ElementsAre;
using namespace std::chrono_literals;

// The wire is written by hand here, so that nothing of the library explains itself.
using Wire = std::array<std::uint8_t, 80>;

constexpr std::uint8_t kRead = 5;
constexpr std::uint8_t kWrite = 6;
constexpr std::uint8_t kKeyByIndex = 8;
constexpr std::uint8_t kKeyInfo = 9;

constexpr auto kNoDevice = static_cast<MachineStatus>(0xE00002C0);
constexpr auto kBadArgument = static_cast<MachineStatus>(0xE00002C2);
constexpr auto kUnsupported = static_cast<MachineStatus>(0xE00002C7);
constexpr MachineStatus kInvalidDestination = 0x10000003;

/// Stands still until it is told to move, and sleeps by moving.
class FakeClock : public Clock {
 public:
  [[nodiscard]] Duration now() override { return Duration(now_.load()); }
  void sleepFor(Duration time) override { now_ += time.count(); }
  void advance(Duration time) { now_ += time.count(); }

 private:
  std::atomic<Duration::rep> now_{1'000'000'000};
};

Wire request(std::uint8_t command, std::string_view key, std::uint32_t size = 0,
             const Bytes& bytes = {}) {
  Wire wire{};
  for (std::size_t i = 0; i < 4; ++i) {
    wire[i] = static_cast<std::uint8_t>(key[3 - i]);
    wire[28 + i] = static_cast<std::uint8_t>(size >> (8 * i));
  }
  wire[42] = command;
  std::copy(bytes.begin(), bytes.end(), wire.begin() + 48);
  return wire;
}

Wire indexRequest(std::uint32_t index) {
  Wire wire = request(kKeyByIndex, "#KEY");
  for (std::size_t i = 0; i < 4; ++i) {
    wire[44 + i] = static_cast<std::uint8_t>(index >> (8 * i));
  }
  return wire;
}

struct Answer {
  MachineStatus status = 0;
  Wire wire{};
  std::size_t size = 0;

  [[nodiscard]] std::uint8_t result() const { return wire[40]; }
  [[nodiscard]] Bytes bytes(std::size_t count) const {
    return Bytes(wire.begin() + 48, wire.begin() + 48 + static_cast<std::ptrdiff_t>(count));
  }
};

constexpr std::uint8_t kUntouched = 0xEE;

Answer send(Machine& machine, std::uint32_t connection, const Wire& wire) {
  Answer answer;
  answer.wire.fill(kUntouched);
  answer.size = answer.wire.size();
  answer.status = machine.call(connection, 2, wire, answer.wire, answer.size);
  return answer;
}

Bytes readBytes(Machine& machine, std::uint32_t connection, std::string_view key,
                std::uint32_t size) {
  const Answer answer = send(machine, connection, request(kRead, key, size));
  EXPECT_EQ(answer.status, 0) << key;
  EXPECT_EQ(answer.result(), 0) << key;
  return answer.bytes(size);
}

std::uint32_t opened(Machine& machine) {
  std::uint32_t connection = 0;
  EXPECT_EQ(machine.open(0, connection), 0);
  return connection;
}

RecordedMachine smallMachine() {
  RecordedKey refusing = key("AC-E", "flag", {0});
  refusing.bytes.clear();
  refusing.result = 0x85;
  RecordedKey failing = key("SBIG", "hex_", {0, 0});
  failing.bytes.clear();
  failing.status = kBadArgument;
  return machineWith(
      {refusing, key("F0Mn", "fpe2", {0x12, 0xC0}), failing, key("TC0P", "sp78", {0x28, 0x80})});
}

/// A small machine with an open connection and a clock that stands still.
struct Bench {
  explicit Bench(Simulation simulation = {}, RecordedMachine recorded = smallMachine()) {
    clock = std::make_shared<FakeClock>();
    simulation.clock = clock;
    machine = std::make_unique<SimulatedMachine>(std::move(recorded), std::move(simulation));
    connection = opened(*machine);
  }

  Answer send(const Wire& wire) { return test::send(*machine, connection, wire); }
  Bytes read(std::string_view key, std::uint32_t size) {
    return readBytes(*machine, connection, key, size);
  }

  std::shared_ptr<FakeClock> clock;
  std::unique_ptr<SimulatedMachine> machine;
  std::uint32_t connection = 0;
};

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

// ---- faults
// --------------------------------------------------------------------------------------

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

// ---- forced readings
// -----------------------------------------------------------------------------

TEST(SimulatedMachine, ReadsWhatItIsToldToInEveryTypeAndSize) {
  struct Row {
    const char* type;
    std::uint32_t size;
    double number;
    Bytes bytes;
  };
  for (const Row& row : std::vector<Row>{
           {"flt ", 4, 50, {0x00, 0x00, 0x48, 0x42}},
           {"sp78", 2, -127, {0x81, 0x00}},
           {"sp78", 1, -0.00390625, {0xFF}},
           {"spa5", 4, -1, {0xFF, 0xFF, 0xFF, 0xE0}},
           {"fpe2", 2, 2000, {0x1F, 0x40}},
           {"fp88", 1, 0.5, {0x80}},
           {"fp1f", 4, 1, {0x00, 0x00, 0x80, 0x00}},
           {"si8 ", 1, -100, {0x9C}},
           {"si16", 2, 1, {0x01, 0x00}},
           {"si32", 4, -2, {0xFE, 0xFF, 0xFF, 0xFF}},
           {"si64", 8, -2, {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
           {"ui8 ", 1, 300, {0xFF}},
           {"ui16", 2, 300, {0x01, 0x2C}},
           {"ui16", 2, 6144, {0x17, 0xFF}},  // 1800 would be read as 0018
           {"ui32", 4, 70000, {0x00, 0x01, 0x11, 0x70}},
           {"ui64", 8, 7, {0, 0, 0, 0, 0, 0, 0, 7}},
           {"flag", 1, 1, {0x01}},
           {"flag", 2, 3, {0x03, 0x00}},
           {"ioft", 1, 200, {0xC8}},
           {"ioft", 2, 513, {0x01, 0x02}},
           {"ioft", 4, -1, {0xFF, 0xFF, 0xFF, 0xFF}},
           {"ioft", 8, 1, {0, 0, 1, 0, 0, 0, 0, 0}},
       }) {
    SCOPED_TRACE(std::string(row.type) + " of " + std::to_string(row.size));
    Bench bench({}, machineWith({key("TEST", row.type, Bytes(row.size, 0x55))}));
    EXPECT_TRUE(bench.machine->setReading("TEST", row.number));
    EXPECT_EQ(bench.read("TEST", row.size), row.bytes);
    EXPECT_EQ(bench.send(request(kKeyInfo, "TEST")).wire[28], row.size);
  }
}

TEST(SimulatedMachine, RefusesAReadingThatAKeyCannotShowAndChangesNothing) {
  struct Row {
    const char* type;
    std::uint32_t size;
  };
  for (const Row& row : std::vector<Row>{{"hex_", 2},
                                         {"ch8*", 4},
                                         {"{jst", 4},
                                         {"zzzz", 2},
                                         {"fp2", 2},
                                         {"flt ", 2},
                                         {"ui32", 3},
                                         {"si16", 5},
                                         {"ioft", 6}}) {
    SCOPED_TRACE(std::string(row.type) + " of " + std::to_string(row.size));
    Bench bench({}, machineWith({key("TEST", row.type, Bytes(row.size, 0x55))}));
    EXPECT_FALSE(bench.machine->setReading("TEST", 1));
    EXPECT_EQ(bench.read("TEST", row.size), Bytes(row.size, 0x55));
  }
}

TEST(SimulatedMachine, RefusesAReadingOfAKeyThatItDoesNotHave) {
  Bench bench;
  for (const char* unknown : {"TC9P", "tc0p", "TC0", "TC0PP", ""}) {
    EXPECT_FALSE(bench.machine->setReading(unknown, 1)) << unknown;
  }
  EXPECT_EQ(bench.read("TC0P", 2), (Bytes{0x28, 0x80}));
}

TEST(SimulatedMachine, ReadsAForcedReadingAlsoWhereTheKeyRefusedOrFailed) {
  Bench bench;
  EXPECT_TRUE(bench.machine->setReading("AC-E", 1));
  EXPECT_EQ(bench.read("AC-E", 1), Bytes{1});
  RecordedKey failing = key("TC1P", "sp78", {0, 0});
  failing.bytes.clear();
  failing.status = kBadArgument;
  Bench other({}, machineWith({failing}));
  EXPECT_TRUE(other.machine->setReading("TC1P", 40));
  EXPECT_EQ(other.read("TC1P", 2), (Bytes{0x28, 0x00}));
}

TEST(SimulatedMachine, KeepsTheFailureOfAKeyWhoseReadingIsRefused) {
  Bench bench;
  EXPECT_FALSE(bench.machine->setReading("SBIG", 1));  // hexadecimal bytes
  EXPECT_EQ(bench.send(request(kRead, "SBIG", 2)).status, kBadArgument);
}

// ---- readings that move
// --------------------------------------------------------------------------

RecordedMachine warmMachine() {
  return machineWith({key("TC0P", "sp78", {0x28, 0x00}), key("TC1P", "sp78", {0x28, 0x00}),
                      key("VD0R", "sp78", {0x14, 0x00})});
}

Simulation moving() {
  Simulation simulation;
  simulation.readingsMove = true;
  return simulation;
}

double degrees(const Bytes& bytes) {
  return static_cast<std::int16_t>(bytes[0] << 8U | bytes[1]) / 256.0;
}

TEST(SimulatedMachine, StartsMovingReadingsExactlyAtWhatTheFileSays) {
  Bench bench(moving(), warmMachine());
  EXPECT_EQ(bench.read("TC0P", 2), (Bytes{0x28, 0x00}));
  EXPECT_EQ(bench.read("TC1P", 2), (Bytes{0x28, 0x00}));
}

TEST(SimulatedMachine, MovesReadingsWithTheClockWithinBoundsAndEachInItsOwnWay) {
  Bench bench(moving(), warmMachine());
  int moved = 0;
  int different = 0;
  for (int i = 0; i < 120; ++i) {
    bench.clock->advance(1s);
    const Bytes first = bench.read("TC0P", 2);
    EXPECT_NEAR(degrees(first), 40, 1.61);
    moved += first != Bytes{0x28, 0x00} ? 1 : 0;
    different += first != bench.read("TC1P", 2) ? 1 : 0;
    EXPECT_EQ(bench.read("VD0R", 2), (Bytes{0x14, 0x00}));
  }
  EXPECT_GT(moved, 100);
  EXPECT_GT(different, 60);
}

TEST(SimulatedMachine, DoesNotMoveReadingsUnlessToldTo) {
  Bench bench({}, warmMachine());
  bench.clock->advance(17s);
  EXPECT_EQ(bench.read("TC0P", 2), (Bytes{0x28, 0x00}));
}

TEST(SimulatedMachine, DoesNotMoveAForcedReading) {
  Bench bench(moving(), warmMachine());
  EXPECT_TRUE(bench.machine->setReading("TC0P", 70));
  for (int i = 0; i < 30; ++i) {
    bench.clock->advance(3s);
    EXPECT_EQ(bench.read("TC0P", 2), (Bytes{0x46, 0x00}));
  }
}

TEST(SimulatedMachine, MovesNothingOfAKeyThatRefuses) {
  RecordedKey refusing = key("TC0P", "sp78", {0x28, 0x00});
  refusing.result = 0x85;
  Bench bench(moving(), machineWith({refusing}));
  bench.clock->advance(17s);
  const Answer answer = bench.send(request(kRead, "TC0P", 2));
  EXPECT_EQ(answer.result(), 0x85);
  EXPECT_EQ(answer.bytes(2), (Bytes{0, 0}));
  EXPECT_EQ(bench.send(request(kRead, "TC0P", 4)).bytes(2), (Bytes{0, 0}));
}

// ---- the journal
// ---------------------------------------------------------------------------------

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
