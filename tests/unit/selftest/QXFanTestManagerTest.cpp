#include "selftest/QXFanTestManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "base/Exception.h"
#include "base/NotificationCenter.h"
#include "tests/support/CapturedLog.h"
#include "tests/unit/selftest/FanTestManagers.h"

namespace halvarin::test {
namespace {

using platform::FanFault;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

// ---- before a batch ----------------------------------------------------------------------------

TEST_F(FanTestManager, HasATestForEveryFanInTheirOrder) {
  start(machineOf(5));
  const auto tests = manager_->fanTests();
  ASSERT_EQ(tests.size(), 5U);
  for (std::size_t i = 0; i < tests.size(); ++i) {
    EXPECT_EQ(tests[i]->fanLocation(), "Fan" + std::to_string(i));
    EXPECT_EQ(tests[i]->delegate(), manager_);
    EXPECT_TRUE(tests[i]->selected());
  }
  EXPECT_FALSE(manager_->doneTesting());
  EXPECT_THAT(manager_->activeFanTests(), IsEmpty());
  EXPECT_EQ(manager_->read_queue().label(), "com.quorvane.readq");
}

TEST_F(FanTestManager, IsTheSameForTheWholeProcess) {
  start(machineOf(1));
  EXPECT_EQ(QXFanTestManager::sharedFTM(), manager_);
  EXPECT_NE(QXFanTestManager::init(), manager_);
}

TEST_F(FanTestManager, OnlyTheFirst15FansCanBeSelected) {
  start(machineOf(10));
  EXPECT_EQ(manager_->selectedFanTests()->size(), 10U);
  auto tests = manager_->fanTests();
  const auto fan15 = std::make_shared<Dictionary>(Dictionary::Entries{{"index", 15}});
  tests.push_back(QXFanTest::fanTestWithAttribs(*fan15, manager_));
  manager_->setFanTests(tests);
  manager_->selectAllFansToFan(10);
  EXPECT_EQ(manager_->selectedFanTests()->size(), 10U);
}

TEST_F(FanTestManager, SelectedTestsAreAbsentWhenNoneIs) {
  start(machineOf(2));
  EXPECT_EQ(manager_->selectedFanTests()->size(), 2U);
  select({1});
  ASSERT_EQ(manager_->selectedFanTests()->size(), 1U);
  EXPECT_EQ(manager_->selectedFanTests()->front(), manager_->fanTests()[1]);
  select({});
  EXPECT_EQ(manager_->selectedFanTests(), std::nullopt);
}

TEST_F(FanTestManager, SelectingAllTakesTheOppositeOfOne) {
  start(machineOf(3));
  select({1});
  manager_->selectAllFansToFan(1);
  EXPECT_EQ(manager_->selectedFanTests(), std::nullopt);
  select({1});
  manager_->selectAllFansToFan(2);
  EXPECT_EQ(manager_->selectedFanTests()->size(), 3U);
}

TEST_F(FanTestManager, SelectingAllByATestThatIsNotThereIsARangeException) {
  start(machineOf(2));
  for (const std::int32_t index : {-1, 2, 2147483647}) {
    try {
      manager_->selectAllFansToFan(index);
      ADD_FAILURE() << index;
    } catch (const Exception& error) {
      EXPECT_EQ(error.name(), Exception::kRange);
    }
  }
  EXPECT_EQ(manager_->selectedFanTests()->size(), 2U);
}

TEST_F(FanTestManager, ChangesOfTheSelectionAreNotified) {
  start(machineOf(1));
  std::vector<std::string> seen;
  for (const auto name : {kSelectedFanTestsWillChange, kSelectedFanTestsDidChange}) {
    static_cast<void>(NotificationCenter::defaultCenter().addObserver(
        name, manager_.get(), [&](const Notification& notification) {
          seen.push_back(notification.name + (manager_->selectedFanTests() ? " one" : " none"));
        }));
  }
  manager_->fanTests()[0]->setSelected(false);
  EXPECT_THAT(seen,
              ElementsAre("selectedFanTestsWillChange one", "selectedFanTestsDidChange none"));
  manager_->didChangeValueForKey("another");
  EXPECT_EQ(seen.size(), 2U);
}

TEST_F(FanTestManager, MadeAnewHandsTheFansBackAndReadsThem) {
  start(machineOf(2));
  const std::weak_ptr<QXFanTest> before = manager_->fanTests()[0];
  manager_->fanTests()[1]->setSelected(false);
  manager_->reInitFanTests();
  EXPECT_TRUE(before.expired());
  EXPECT_THAT(writes(), ElementsAre("F0Md 00", "F1Md 00"));
  EXPECT_EQ(manager_->selectedFanTests()->size(), 2U);
}

TEST(FanTestManagerWithoutFacade, HasNoTestsAndPassesNothing) {
  CapturedLog log;  // the section holds no database
  const auto manager = QXFanTestManager::sharedFTM();
  EXPECT_THAT(manager->fanTests(), IsEmpty());
  manager->startTesting(nullptr);
  EXPECT_TRUE(becomesTrue(seconds(60), [&] { return manager->doneTesting(); }));
  EXPECT_EQ(manager->fanTestResults()->get("status").textView(), "Passed");
}

// ---- batches -----------------------------------------------------------------------------------

TEST_F(FanTestManager, BatchOfHealthyFansIsPassed) {
  start(machineOf(2));
  runBatch();
  EXPECT_TRUE(manager_->doneTesting());
  EXPECT_THAT(manager_->activeFanTests(), IsEmpty());
  EXPECT_EQ(overall(), "Passed");
  EXPECT_THAT(entries(), ElementsAre("Fan0: Passed", "Fan1: Passed"));
  EXPECT_EQ(manager_->fanTestResults()->count(), 2U);
  EXPECT_THAT(listener_->heard(), ElementsAre(0, 1));
}

TEST_F(FanTestManager, TestsAreCanceledAndNotEnabledUntilTheyEnd) {
  start(machineOf(2), {}, 1);
  select({0});
  manager_->startTesting(nullptr);
  EXPECT_FALSE(manager_->doneTesting());
  ASSERT_EQ(manager_->activeFanTests().size(), 1U);
  EXPECT_EQ(manager_->activeFanTests()[0], manager_->fanTests()[0]);
  for (const auto& test : manager_->fanTests()) {
    EXPECT_FALSE(test->enabled());
    EXPECT_EQ(test->status(), "Canceled");
  }
  EXPECT_EQ(overall(), "Canceled");
  const auto test = manager_->fanTests()[0];
  EXPECT_TRUE(becomesTrue(seconds(60), [&] { return test->progress().sample > 0; }));
  manager_->cancel();
  isStarted_ = true;
  EXPECT_TRUE(ends());
}

TEST_F(FanTestManager, TestThatIsNotRunIsNotInTheResults) {
  start(machineOf(3));
  select({0, 2});
  runBatch();
  EXPECT_THAT(entries(), ElementsAre("Fan0: Passed", "Fan2: Passed"));
  EXPECT_EQ(manager_->fanTests()[1]->status(), "Canceled");
  EXPECT_THAT(listener_->heard(), ElementsAre(0, 2));
}

TEST_F(FanTestManager, FiveFansNeverRunMoreThanThreeAtATime) {
  start(machineOf(5));
  runBatch();
  EXPECT_EQ(overall(), "Passed");
  EXPECT_EQ(listener_->most(), 3U);
  EXPECT_THAT(listener_->heard(), ElementsAre(0, 1, 2, 3, 4));
}

TEST_F(FanTestManager, FourthTestStartsOnlyWhenOneOfThreeHasEnded) {
  start(machineOf(4));
  startInBackground();
  const auto tests = manager_->fanTests();
  EXPECT_TRUE(becomesTrue(seconds(60), [&] { return tests[3]->progress().sample > 0; }));
  EXPECT_TRUE(std::any_of(tests.begin(), tests.begin() + 3,
                          [](const auto& test) { return test->progress().state == "done"; }));
  EXPECT_TRUE(ends());
}

TEST_F(FanTestManager, WithoutASelectedFanTheBatchEndsAtOnceAndIsPassed) {
  start(machineOf(2));
  select({});
  runBatch();
  EXPECT_TRUE(manager_->doneTesting());
  EXPECT_EQ(overall(), "Passed");
  EXPECT_THAT(entries(), IsEmpty());
  EXPECT_THAT(writes(), IsEmpty());
  EXPECT_THAT(listener_->heard(), IsEmpty());
}

TEST_F(FanTestManager, DeliberateTimeoutOfOneFanFailsTheWholeAndStaysItsOwnStatus) {
  start(machineOf(2), {{1, FanFault::Kind::stalled}});
  runBatch();
  EXPECT_EQ(overall(), "Failed");
  EXPECT_THAT(entries(), ElementsAre("Fan0: Passed", "Fan1: Timeout"));
}

TEST_F(FanTestManager, CanceledBatchStartsNoMoreTestsAndCancelsThoseThatRun) {
  start(machineOf(5), {}, 20);
  startInBackground();
  const auto tests = manager_->fanTests();
  EXPECT_TRUE(becomesTrue(seconds(60), [&] {
    return std::all_of(tests.begin(), tests.begin() + 3,
                       [](const auto& test) { return test->progress().sample > 2; });
  }));
  manager_->cancel();
  EXPECT_TRUE(manager_->doneTesting());
  EXPECT_TRUE(ends());
  EXPECT_EQ(overall(), "Canceled");
  EXPECT_EQ(tests[3]->progress().sample, 0);
  EXPECT_EQ(tests[4]->progress().sample, 0);
  EXPECT_THAT(entries(), ElementsAre("Fan0: Canceled", "Fan1: Canceled", "Fan2: Canceled",
                                     "Fan3: Canceled", "Fan4: Canceled"));
}

TEST_F(FanTestManager, DelegateThatIsGoneGetsNothingAndTheBatchGoesOn) {
  start(machineOf(1));
  listener_ = nullptr;
  EXPECT_EQ(manager_->delegate(), nullptr);
  runBatch();
  EXPECT_EQ(overall(), "Passed");
}

TEST_F(FanTestManager, ReadingsOfAllTestsComeOneAfterTheOther) {
  start(machineOf(3));
  runBatch();
  // A reading begins with the temperatures; between two of them stand the fan keys of one.
  std::size_t sinceTemperature = 0;
  std::size_t readings = 0;
  for (const std::string& line : *installed_.journal) {
    if (line.find("read TC0P") != std::string::npos) {
      ++readings;
      sinceTemperature = 0;
    } else if (line.find("read F0Ac") != std::string::npos) {
      EXPECT_EQ(++sinceTemperature, 1U);
    }
  }
  EXPECT_GT(readings, 200U);
}

// ---- hosts beside a batch ----------------------------------------------------------------------

TEST_F(FanTestManager, HostMayReadCancelAndAskForResultsMeanwhile) {
  start(machineOf(3));
  startInBackground();
  std::atomic<bool> isOver = false;
  std::thread reader([&] {
    while (!isOver) {
      static_cast<void>(QXHalvarin::sharedHalvarin()->readFans());
    }
  });
  std::thread asker([&] {
    while (!isOver) {
      static_cast<void>(manager_->fanTestResults());
      for (const auto& test : manager_->fanTests()) {
        static_cast<void>(test->progress());
      }
    }
  });
  const auto tests = manager_->fanTests();
  EXPECT_TRUE(becomesTrue(seconds(60), [&] { return tests[2]->progress().sample > 20; }));
  manager_->cancel();
  EXPECT_TRUE(ends());
  isOver = true;
  reader.join();
  asker.join();
  EXPECT_EQ(overall(), "Canceled");
}

TEST_F(FanTestManager, LogsLikeATest) {
  start(machineOf(1));
  QXFanTestManager::log("mine", "something");
  QXFanTestManager::log(std::nullopt, std::nullopt);
  EXPECT_THAT(logged("mine"), ElementsAre("something"));
  EXPECT_THAT(logged("qrb"), ElementsAre(""));
}

}  // namespace
}  // namespace halvarin::test
