#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/machine/SimulatedMachine.h"
#include "tests/support/Machines.h"
#include "tests/unit/platform/SimulatedMachineBench.h"

namespace halvarin::test {

namespace {

using platform::RecordedKey;

using namespace std::chrono_literals;

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

}  // namespace

}  // namespace halvarin::test
