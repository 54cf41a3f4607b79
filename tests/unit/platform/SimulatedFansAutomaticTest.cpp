#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <string>
#include <utility>

#include "platform/machine/BuiltInMachine.h"
#include "platform/machine/SimulatedMachine.h"
#include "tests/unit/platform/FanBench.h"

// Automatic control, and fans with faults.

namespace halvarin::test {

namespace {

using Kind = platform::FanFault::Kind;

using namespace std::chrono_literals;

// ---- automatic control

TEST(SimulatedFans, KeepSpeedAndTargetOfTheFileToTheBitWhileTheHeatStays) {
  for (const char* type : {"fpe2", "flt ", "ui16"}) {
    FanBench bench(fanKeys(0, type, {2055.75, 2100.5}) + fanKeys(1, type, {0, 0}) + heat());
    for (int i = 0; i < 20; ++i) {
      bench.clock->advance(7s);
      const auto size = static_cast<std::uint32_t>(speed(type, 0).size());
      EXPECT_EQ(bench.read("F0Ac", size), speed(type, 2055.75)) << type;
      EXPECT_EQ(bench.read("F0Tg", size), speed(type, 2100.5)) << type;
      EXPECT_EQ(bench.read("F1Ac", size), Bytes(size, 0)) << type;
      EXPECT_EQ(bench.read("F1Tg", size), Bytes(size, 0)) << type;
    }
  }
}

TEST(SimulatedFans, KeepBytesThatAreNoSpeedWhileTheHeatStays) {
  const Bytes noNumber{0x00, 0x00, 0xC0, 0x7F};
  FanBench bench({key("F0Ac", "flt ", noNumber), key("F0Tg", "flt ", noNumber),
                  key("TC0P", "sp78", degreesBytes(50))});
  bench.settle();
  EXPECT_EQ(bench.read("F0Ac", 4), noNumber);
  EXPECT_EQ(bench.read("F0Tg", 4), noNumber);
  bench.setHeat(54);
  EXPECT_EQ(bench.rpm("F0Tg", "flt "), 600);  // of a range from 0 to 6000
}

TEST(SimulatedFans, FollowTheHottestReading) {
  FanBench bench(fanKeys(0, "fpe2", {2000, 2200}) + heat(50));
  bench.setHeat(60);
  EXPECT_EQ(bench.rpm("F0Tg"), 3200);
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
  bench.clock->advance(2s);
  EXPECT_NEAR(bench.rpm("F0Ac"), 2632.12, 0.126);
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 3000);
  bench.setHeat(50);
  EXPECT_EQ(bench.read("F0Tg", 2), fpe2(2200));
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
}

TEST(SimulatedFans, FollowAWrittenTemperatureToo) {
  FanBench bench(fanKeys(0) + heat(50));
  bench.write("TC0P", degreesBytes(70));
  EXPECT_EQ(bench.rpm("F0Tg"), 4000);
}

TEST(SimulatedFans, CountTheTimeBeforeTheHeatForTheHeatBefore) {
  FanBench bench(fanKeys(0) + heat(50));
  bench.clock->advance(10s);
  bench.setHeat(60);
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
}

TEST(SimulatedFans, FollowNothingButTheHottest) {
  FanBench bench(fanKeys(0) + heat(50) + Keys{key("TC1P", "sp78", degreesBytes(40))});
  EXPECT_TRUE(bench.machine->setReading("TC1P", 49));
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
  EXPECT_EQ(bench.rpm("F0Tg"), 2000);
}

TEST(SimulatedFans, CompareWithTheHeatAtTheFirstTransfer) {
  Bench bench({}, machineWith(fanKeys(0) + heat(50)));
  EXPECT_TRUE(bench.machine->setReading("TC0P", 70));
  bench.clock->advance(10s);
  EXPECT_EQ(bench.read("F0Ac", 2), fpe2(2000));
  bench.clock->advance(10s);
  EXPECT_EQ(bench.read("F0Ac", 2), fpe2(2000));
  EXPECT_EQ(bench.read("F0Tg", 2), fpe2(2000));
}

TEST(SimulatedFans, StayWithinTheirRange) {
  FanBench bench(fanKeys(0) + heat(50));
  bench.setHeat(120);
  EXPECT_EQ(bench.rpm("F0Tg"), 5200);
  bench.setHeat(20);
  EXPECT_EQ(bench.rpm("F0Tg"), 1200);
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 1200);
}

TEST(SimulatedFans, StandStillUntilTheirLeastSpeedIsWanted) {
  FanBench bench(fanKeys(0, "flt ", {0, 0}) + heat(50));
  bench.setHeat(61.5);
  bench.settle();
  EXPECT_EQ(bench.read("F0Ac", 4), flt(0));
  EXPECT_EQ(bench.read("F0Tg", 4), flt(0));
  bench.setHeat(62);
  EXPECT_EQ(bench.rpm("F0Tg", "flt "), 1200);
  bench.settle();
  EXPECT_NEAR(bench.rpm("F0Ac", "flt "), 1200, 0.01);
}

TEST(SimulatedFans, IgnoreAWrittenTargetUntilTheControllerMovesIt) {
  FanBench bench(fanKeys(0) + forceBits() + heat(50));
  bench.write("F0Tg", fpe2(4500));
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Tg"), 4500);
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
  bench.setHeat(51);
  EXPECT_EQ(bench.rpm("F0Tg"), 2100);
}

TEST(SimulatedFans, KeepTheirCommandWhileTheHeatMoves) {
  FanBench bench(fanKeys(0) + forceBits(1) + heat(50));
  bench.write("F0Tg", fpe2(4500));
  bench.setHeat(60);
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Tg"), 4500);
  EXPECT_EQ(bench.rpm("F0Ac"), 4500);
  bench.write("FS! ", {0, 0});
  EXPECT_EQ(bench.rpm("F0Tg"), 3000);
}

TEST(SimulatedFans, MoveWithTheReadingsOfALivingMachineAndStandStillWithItsClock) {
  FanBench bench(fanKeys(0, "flt ") + heat(50), moving());
  const auto size = std::uint32_t{4};
  EXPECT_EQ(bench.read("F0Ac", size), flt(2000));
  EXPECT_EQ(bench.read("F0Tg", size), flt(2000));
  int different = 0;
  for (int i = 0; i < 60; ++i) {
    bench.clock->advance(1s);
    const double rpm = bench.rpm("F0Ac", "flt ");
    EXPECT_NEAR(rpm, 2000, 161);  // 1.6 degrees to either side
    different += rpm != 2000 ? 1 : 0;
  }
  EXPECT_GT(different, 50);
  EXPECT_NEAR(bench.rpm("F0Tg", "flt "), bench.rpm("F0Ac", "flt "), 40);
}

// ---- faults

TEST(SimulatedFans, ReadExactly0FromTheFirstTransferWhenStalled) {
  for (const char* type : {"fpe2", "flt ", "ui16"}) {
    Bench bench(withFault(Kind::stalled),
                machineWith(fanKeys(0, type) + fanKeys(1, type) + forceBits() + heat()));
    const auto size = static_cast<std::uint32_t>(speed(type, 0).size());
    EXPECT_EQ(bench.read("F0Ac", size), Bytes(size, 0)) << type;
    EXPECT_EQ(bench.read("F1Ac", size), speed(type, 2000)) << type;
    EXPECT_EQ(bench.read("F0Tg", size), speed(type, 2000)) << type;
    bench.send(request(kWrite, "FS! ", 2, {0, 1}));
    bench.send(request(kWrite, "F0Tg", size, speed(type, 4000)));
    bench.clock->advance(10s);
    EXPECT_EQ(bench.read("F0Ac", size), Bytes(size, 0)) << type;
    EXPECT_EQ(bench.read("F0Tg", size), speed(type, 4000)) << type;
  }
}

TEST(SimulatedFans, ReadASetSpeedAlsoWhenStalled) {
  Bench bench(withFault(Kind::stalled), machineWith(fanKeys(0)));
  EXPECT_TRUE(bench.machine->setReading("F0Ac", 900));
  EXPECT_EQ(bench.read("F0Ac", 2), fpe2(900));
}

TEST(SimulatedFans, Need30SecondsForTheirWayWhenSlow) {
  FanBench bench(fanKeys(0) + forceBits(1) + heat(), withFault(Kind::slow));
  bench.write("F0Tg", fpe2(4000));
  bench.clock->advance(30s);
  EXPECT_NEAR(bench.rpm("F0Ac"), 3264.24, 0.126);
}

TEST(SimulatedFans, ReachHalfOfTheirRangeWhenWeak) {
  FanBench bench(fanKeys(0) + forceBits(1) + heat(), withFault(Kind::weak));
  bench.write("F0Tg", fpe2(5200));
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 3200);
  EXPECT_EQ(bench.rpm("F0Tg"), 5200);
  bench.write("F0Tg", fpe2(1500));
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 1500);
}

TEST(SimulatedFans, StayUnderAutomaticControlWhenDeaf) {
  FanBench bench(fanKeys(0) + mode("F0Md") + heat(50), withFault(Kind::deaf));
  bench.write("F0Md", {1});
  bench.write("F0Tg", fpe2(5200));
  bench.settle();
  EXPECT_EQ(bench.read("F0Md", 1), Bytes{1});
  EXPECT_EQ(bench.rpm("F0Tg"), 5200);
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
  bench.setHeat(60);
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 3000);
}

TEST(SimulatedFans, AreHealthyWhereTheFaultIsAnother) {
  FanBench bench(fanKeys(0) + forceBits(1) + heat(), withFault(Kind::slow, 1));
  bench.write("F0Tg", fpe2(4000));
  bench.clock->advance(2s);
  EXPECT_NEAR(bench.rpm("F0Ac"), 3264.24, 0.126);
}

// ---- the built-in machines

TEST(SimulatedFans, OfEveryBuiltInMachineStartAsItsFileSaysAndObey) {
  for (const std::string& model : platform::builtInModels()) {
    SCOPED_TRACE(model);
    const auto recorded = platform::builtInMachine(model);
    ASSERT_TRUE(recorded);
    Bench bench({}, *recorded);
    const bool hasTestFlag = bench.send(request(kKeyInfo, "Ftst")).result() == 0;
    if (hasTestFlag) {
      bench.send(request(kWrite, "Ftst", 1, {1}));
    }
    for (const std::string fan : {"F0", "F1"}) {
      for (const char* spelling : {"Md", "md"}) {
        bench.send(request(kWrite, fan + spelling, 1, {1}));
      }
      bench.send(request(kWrite, fan + "Tg", 4, flt(3456)));
    }
    bench.clock->advance(10min);
    EXPECT_NEAR(readSpeed("flt ", bench.read("F0Ac", 4)), 3456, 0.01);
    EXPECT_NEAR(readSpeed("flt ", bench.read("F1Ac", 4)), 3456, 0.01);
  }
}

}  // namespace

}  // namespace halvarin::test
