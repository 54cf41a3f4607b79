#include "platform/machine/fans/SimulatedFans.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>
#include <vector>

#include "tests/unit/platform/FanBench.h"

// How forced fans move, and what their keys show.

namespace halvarin::test {

namespace {

using namespace std::chrono_literals;

constexpr double kQuarter = 0.126;  // what fpe2 rounds away

// ---- moving

TEST(SimulatedFans, Cover632ThousandthsOfTheWayIn2Seconds) {
  for (const char* type : {"fpe2", "flt ", "ui16"}) {
    FanBench bench(fanKeys(0, type) + forceBits() + heat());
    bench.write("FS! ", {0, 1});
    bench.write("F0Tg", speed(type, 4000));
    EXPECT_EQ(bench.rpm("F0Ac", type), 2000) << type;
    bench.clock->advance(2s);
    // As an integer that would be 3301, which a reader takes for 0133; the nearest is 32FF.
    const double exactness = std::string(type) == "ui16" ? 0.5 : kQuarter;
    EXPECT_NEAR(bench.rpm("F0Ac", type), 2000 + 2000 * (1 - std::exp(-1)), exactness) << type;
    bench.settle();
    EXPECT_NEAR(bench.rpm("F0Ac", type), 4000, kQuarter) << type;
  }
}

TEST(SimulatedFans, MoveTheSameHoweverOftenTheyAreRead) {
  FanBench often(fanKeys(0, "flt ") + forceBits(1) + heat());
  FanBench once(fanKeys(0, "flt ") + forceBits(1) + heat());
  often.write("F0Tg", flt(4000));
  once.write("F0Tg", flt(4000));
  for (int i = 0; i < 300; ++i) {
    often.clock->advance(10ms);
    often.read("F0Ac", 4);
  }
  once.clock->advance(3s);
  EXPECT_NEAR(often.rpm("F0Ac", "flt "), once.rpm("F0Ac", "flt "), 0.01);
}

TEST(SimulatedFans, FollowEachNewTargetFromWhereTheyAre) {
  FanBench bench(fanKeys(0, "flt ") + forceBits(1) + heat());
  bench.write("F0Tg", flt(4000));
  bench.clock->advance(2s);
  const double half = bench.rpm("F0Ac", "flt ");
  bench.clock->advance(0s);
  bench.write("F0Tg", flt(1000));
  EXPECT_EQ(bench.rpm("F0Ac", "flt "), half);
  bench.clock->advance(2s);
  EXPECT_NEAR(bench.rpm("F0Ac", "flt "), 1000 + (half - 1000) * std::exp(-1), 0.01);
}

TEST(SimulatedFans, CountTheTimeBeforeATargetForTheTargetBefore) {
  FanBench bench(fanKeys(0, "flt ") + forceBits(1) + heat());
  bench.write("F0Tg", flt(4000));
  bench.clock->advance(2s);
  bench.write("F0Tg", flt(2000));  // without a reading in between
  EXPECT_NEAR(bench.rpm("F0Ac", "flt "), 3264.24, 0.01);
}

TEST(SimulatedFans, StandStillWhileTheTimeDoes) {
  FanBench bench(fanKeys(0) + forceBits(1) + heat());
  bench.write("F0Tg", fpe2(4000));
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(bench.rpm("F0Ac"), 2000);
  }
}

TEST(SimulatedFans, MoveEachOnItsOwn) {
  FanBench bench(fanKeys(0) + fanKeys(1) + forceBits() + heat());
  bench.write("F1Tg", fpe2(5000));
  bench.write("FS! ", {0, 2});
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
  EXPECT_EQ(bench.rpm("F1Ac"), 5000);
}

TEST(SimulatedFans, AreKnownByLettersBeyondTheTenth) {
  FanBench bench({key("FBAc", "fpe2", fpe2(2000)), key("FBTg", "fpe2", fpe2(2000)),
                  key("FS! ", "ui16", {0, 0})});
  bench.write("FBTg", fpe2(3000));
  bench.write("FS! ", {0x08, 0x00});  // bit 11
  bench.settle();
  EXPECT_EQ(bench.rpm("FBAc"), 3000);
}

TEST(SimulatedFans, StayAsTheyAreInOtherTypes) {
  FanBench bench({key("F0Ac", "hex_", {0x1F, 0x40}), key("F0Tg", "fpe2", fpe2(2000)),
                  key("FS! ", "ui16", {0, 0})});
  bench.write("F0Tg", fpe2(3000));
  bench.write("FS! ", {0, 1});
  bench.settle();
  EXPECT_EQ(bench.read("F0Ac", 2), (Bytes{0x1F, 0x40}));
}

TEST(SimulatedFans, TakeNoCommandsWithoutATarget) {
  FanBench bench({key("F0Ac", "fpe2", fpe2(2000)), key("FS! ", "ui16", {0, 1})});
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
}

TEST(SimulatedFans, TakeNoCommandsFromATargetThatIsNoNumber) {
  FanBench bench(fanKeys(0, "flt ") + forceBits(1) + heat());
  bench.write("F0Tg", {0x00, 0x00, 0xC0, 0x7F});
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac", "flt "), 2000);
}

TEST(SimulatedFans, ShowAReaderOfEitherByteOrderTheNearestIntegerSpeed) {
  FanBench bench(fanKeys(0, "ui16") + forceBits(1) + heat());
  bench.write("F0Tg", fpe2(1536));  // 1800, which would be read as 0018
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac", "ui16"), 1535.75);
}

// ---- readings that are set

TEST(SimulatedFans, LeaveASetActualSpeedAlone) {
  FanBench bench(fanKeys(0) + forceBits(1) + heat());
  EXPECT_TRUE(bench.machine->setReading("F0Ac", 777));
  bench.write("F0Tg", fpe2(4000));
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 777);
}

TEST(SimulatedFans, LeaveASetTargetAlone) {
  FanBench bench(fanKeys(0) + forceBits(1) + heat());
  EXPECT_TRUE(bench.machine->setReading("F0Tg", 3000));
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 3000);
  bench.write("FS! ", {0, 0});
  bench.setHeat(60);
  EXPECT_EQ(bench.rpm("F0Tg"), 3000);
}

TEST(SimulatedFans, ObeyASetModeAtOnce) {
  FanBench bench(fanKeys(0, "fpe2", {2000, 4000}) + mode("F0Md") + heat());
  EXPECT_TRUE(bench.machine->setReading("F0Md", 1));
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 4000);
}

// ---- the journal

TEST(SimulatedFans, LeaveTheJournalAsItWas) {
  std::vector<std::string> lines;
  platform::Simulation simulation;
  simulation.journal = [&lines](std::string_view line) { lines.emplace_back(line); };
  FanBench bench(fanKeys(0) + mode("F0Md") + testFlag(), std::move(simulation));
  bench.write("F0Md", {1});
  bench.read("F0Ac", 2);
  EXPECT_EQ(lines,
            (std::vector<std::string>{
                "open type 0 -> connection 1", "call 1 read #KEY size 4 -> 00000007",
                "call 1 write F0Md size 1 bytes 01 -> done", "call 1 read F0Ac size 2 -> 1F40"}));
}

}  // namespace

}  // namespace halvarin::test
