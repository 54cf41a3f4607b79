#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/machine/SimulatedMachine.h"
#include "tests/unit/platform/FanBench.h"

// The keys that force fans and hand them back, in every way that machines have.

namespace halvarin::test {

namespace {

using namespace std::chrono_literals;

struct Way {
  const char* name;
  Keys keys;
  const char* forceKey;
  Bytes force;
  Bytes free;
  bool needsTest = false;
};

std::vector<Way> ways() {
  return {{"bits", forceBits(), "FS! ", {0, 1}, {0, 0}},
          {"upper case", mode("F0Md"), "F0Md", {1}, {0}},
          {"lower case", mode("F0md"), "F0md", {1}, {0}},
          {"both spellings", mode("F0Md") + mode("F0md"), "F0Md", {1}, {0}},
          {"bits and a mode", forceBits() + mode("F0Md"), "FS! ", {0, 1}, {0, 0}},
          {"bits with a test", forceBits() + testFlag(), "FS! ", {0, 1}, {0, 0}, true},
          {"upper case with a test", mode("F0Md") + testFlag(), "F0Md", {1}, {0}, true},
          {"lower case with a test", mode("F0md") + testFlag(), "F0md", {1}, {0}, true}};
}

TEST(SimulatedFans, ObeyTheForceBeforeTheTargetAndTheTargetBeforeTheForce) {
  for (const Way& way : ways()) {
    for (const bool targetFirst : {true, false}) {
      SCOPED_TRACE(std::string(way.name) + (targetFirst ? ", target first" : ", force first"));
      FanBench bench(fanKeys(0) + heat() + way.keys);
      if (way.needsTest) {
        bench.write("Ftst", {1});
      }
      if (targetFirst) {
        bench.write("F0Tg", fpe2(4500));
        bench.settle();
        EXPECT_EQ(bench.rpm("F0Ac"), 2000);
        EXPECT_EQ(bench.rpm("F0Tg"), 4500);
      }
      bench.write(way.forceKey, way.force);
      if (!targetFirst) {
        bench.write("F0Tg", fpe2(4500));
      }
      bench.settle();
      EXPECT_EQ(bench.rpm("F0Ac"), 4500);
      EXPECT_EQ(bench.read(way.forceKey, static_cast<std::uint32_t>(way.force.size())), way.force);
    }
  }
}

TEST(SimulatedFans, GoBackToTheAutomaticTargetAndSpeedWhenHandedBack) {
  for (const Way& way : ways()) {
    SCOPED_TRACE(way.name);
    FanBench bench(fanKeys(0, "fpe2", {2000, 2100}) + heat() + way.keys);
    if (way.needsTest) {
      bench.write("Ftst", {1});
    }
    bench.write(way.forceKey, way.force);
    bench.write("F0Tg", fpe2(4500));
    bench.settle();
    bench.write(way.forceKey, way.free);
    EXPECT_EQ(bench.rpm("F0Tg"), 2100);
    EXPECT_EQ(bench.rpm("F0Ac"), 4500);
    bench.clock->advance(2s);
    EXPECT_NEAR(bench.rpm("F0Ac"), 2000 + 2500 * std::exp(-1), 0.126);
    bench.settle();
    EXPECT_EQ(bench.rpm("F0Ac"), 2000);
  }
}

TEST(SimulatedFans, IgnoreForcesWhileTheTestFlagIs0) {
  for (const Way& way : ways()) {
    if (!way.needsTest) {
      continue;
    }
    SCOPED_TRACE(way.name);
    FanBench bench(fanKeys(0) + heat() + way.keys);
    bench.write("F0Tg", fpe2(4500));
    bench.write(way.forceKey, way.force);  // is acknowledged all the same
    EXPECT_EQ(bench.read(way.forceKey, static_cast<std::uint32_t>(way.free.size())), way.free);
    bench.settle();
    EXPECT_EQ(bench.rpm("F0Ac"), 2000);
    bench.write("Ftst", {1});
    bench.settle();
    EXPECT_EQ(bench.rpm("F0Ac"), 2000);
  }
}

TEST(SimulatedFans, AreAllHandedBackWhenTheTestFlagBecomes0) {
  FanBench bench(fanKeys(0) + fanKeys(1) + heat() + mode("F0Md") + mode("F1md") + testFlag());
  bench.write("Ftst", {1});
  for (const std::string fan : {"F0", "F1"}) {
    bench.write(fan + (fan == "F0" ? "Md" : "md"), {1});
    bench.write(fan + "Tg", fpe2(5000));
  }
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 5000);
  EXPECT_EQ(bench.rpm("F1Ac"), 5000);
  bench.write("Ftst", {0});
  EXPECT_EQ(bench.read("F0Md", 1), Bytes{0});
  EXPECT_EQ(bench.read("F1md", 1), Bytes{0});
  EXPECT_EQ(bench.rpm("F0Tg"), 2000);
  EXPECT_EQ(bench.rpm("F1Tg"), 2000);
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
  EXPECT_EQ(bench.rpm("F1Ac"), 2000);
}

TEST(SimulatedFans, AreForcedFromTheStartWhereTheFileSaysSo) {
  const Keys fan = fanKeys(0, "fpe2", {2000, 4000}) + heat();
  for (const Keys& forced : {forceBits(1), mode("F0Md", 1), mode("F0md", 1),
                             mode("F0Md", 1) + testFlag(1), forceBits(1) + testFlag(1)}) {
    FanBench bench(fan + forced);
    EXPECT_EQ(bench.rpm("F0Ac"), 2000);
    bench.settle();
    EXPECT_EQ(bench.rpm("F0Ac"), 4000);
  }
  FanBench unflagged(fan + mode("F0Md", 1) + testFlag(0));
  unflagged.settle();
  EXPECT_EQ(unflagged.rpm("F0Ac"), 2000);
}

TEST(SimulatedFans, ChangeNothingByAWriteOfTheWrongSize) {
  FanBench bench(fanKeys(0) + forceBits(1) + heat());
  EXPECT_EQ(bench.send(request(kWrite, "F0Tg", 4, {0x55, 0x55, 0, 0})).result(), 0x87);
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
  EXPECT_EQ(bench.rpm("F0Tg"), 2000);
}

TEST(SimulatedFans, ChangeNothingByAWriteThatFails) {
  platform::Simulation simulation;
  simulation.faults = {{platform::fourBytes("F0Tg"), kWrite, 1, UINT64_MAX, 5}};
  FanBench bench(fanKeys(0) + forceBits(1) + heat(), std::move(simulation));
  EXPECT_EQ(bench.send(request(kWrite, "F0Tg", 2, fpe2(4000))).status, 5);
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
}

TEST(SimulatedFans, LeaveWritesToOtherKeysAsTheyAre) {
  FanBench bench(fanKeys(0) + forceBits() + heat());
  bench.write("F0Mx", fpe2(9000));
  bench.write("F0Mn", fpe2(3000));
  bench.settle();
  EXPECT_EQ(bench.rpm("F0Mx"), 9000);
  EXPECT_EQ(bench.rpm("F0Mn"), 3000);
  EXPECT_EQ(bench.rpm("F0Ac"), 2000);
}

}  // namespace

}  // namespace halvarin::test
