// When a batch of fan tests heats the processor.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "selftest/ProcessorHeater.h"
#include "tests/unit/selftest/FanTestManagers.h"

namespace halvarin::test {
namespace {

using platform::FanFault;
using std::chrono::seconds;

platform::RecordedMachine appleMachineOf(std::uint8_t fans) {
  auto machine = machineOf(fans);
  machine.processor = "Apple M1 Test";
  machine.logicalProcessors = 2;
  return machine;
}

TEST_F(FanTestManager, HeatsTheProcessorUntilTheLastFanIsHandedBack) {
  start(appleMachineOf(2), {}, 40);
  startInBackground();
  const auto tests = manager_->fanTests();
  EXPECT_TRUE(becomesTrue(seconds(60), [&] { return tests[0]->progress().state == "rah_max"; }));
  EXPECT_TRUE(isHeaterOn());
  EXPECT_TRUE(becomesTrue(seconds(60), [&] {
    return tests[0]->progress().state == "animate_done" &&
           tests[1]->progress().state == "animate_done";
  }));
  EXPECT_FALSE(isHeaterOn());
  EXPECT_TRUE(ends());
}

TEST_F(FanTestManager, HeatsToTheEndOfTheBatchWhenAFanIsNeverHandedBack) {
  start(appleMachineOf(1), {{0, FanFault::Kind::stalled}});
  startInBackground();
  const auto test = manager_->fanTests()[0];
  EXPECT_TRUE(becomesTrue(seconds(60), [&] { return test->progress().sample > 400; }));
  EXPECT_TRUE(isHeaterOn());
  EXPECT_TRUE(ends());
  // The heater goes off last, after the tests are enabled.
  EXPECT_TRUE(becomesTrue(seconds(60), [] { return !isHeaterOn(); }));
}

TEST_F(FanTestManager, DeliberateHeaterStopsBeforeTheFourthFanWhenThreeAreHandedBack) {
  start(appleMachineOf(4), {}, 40);
  startInBackground();
  const auto tests = manager_->fanTests();
  EXPECT_TRUE(becomesTrue(seconds(60), [&] { return tests[3]->progress().sample > 0; }));
  EXPECT_FALSE(isHeaterOn());
  EXPECT_TRUE(ends());
}

TEST_F(FanTestManager, HeatsNoOtherProcessor) {
  start(machineOf(1), {}, 20);
  startInBackground();
  const auto test = manager_->fanTests()[0];
  EXPECT_TRUE(becomesTrue(seconds(60), [&] { return test->progress().sample > 5; }));
  EXPECT_FALSE(isHeaterOn());
  manager_->cancel();
  EXPECT_TRUE(ends());
}

TEST_F(FanTestManager, FanThatIsHandedBackStopsTheHeaterWhenNoneOrOneIsCounted) {
  start(appleMachineOf(1));
  for (int i = 0; i < 3; ++i) {  // the count goes on below 0
    manager_->loadCores(true);
    EXPECT_TRUE(isHeaterOn());
    manager_->fan_is_running();
    EXPECT_FALSE(isHeaterOn());
  }
}

TEST_F(FanTestManager, FansAreCountedAnewInEachBatch) {
  start(appleMachineOf(1), {{0, FanFault::Kind::stalled}}, 400);
  runBatch();  // its fan is counted, and never handed back
  isStarted_ = false;
  startInBackground();
  const auto test = manager_->fanTests()[0];
  EXPECT_TRUE(becomesTrue(seconds(60), [&] { return test->progress().state == "wait_speed"; }));
  manager_->cancel();
  EXPECT_TRUE(ends());
  EXPECT_TRUE(becomesTrue(seconds(60), [] { return !isHeaterOn(); }));
  manager_->loadCores(true);
  manager_->fan_is_running();
  EXPECT_FALSE(isHeaterOn());
}

}  // namespace
}  // namespace halvarin::test
