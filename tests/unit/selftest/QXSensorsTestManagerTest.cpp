#include "selftest/QXSensorsTestManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "platform/MainThread.h"
#include "sensors/SensorUpdate.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Facades.h"
#include "tests/support/Updates.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using Lines = std::vector<std::string>;

/// Keeps what it is told, and how the test stood then.
class Delegate : public SensorsTestDelegate {
 public:
  explicit Delegate(const std::shared_ptr<QXSensorsTestManager>& manager) : manager_(manager) {}

  void updateSensorProgress(const Lines& lines) override {
    delivered.push_back(lines);
    thread = std::this_thread::get_id();
    if (const auto manager = manager_.lock()) {
      status = manager->status();
      doneTesting = manager->doneTesting();
    }
  }

  std::vector<Lines> delivered;
  std::string status;
  bool doneTesting = false;
  std::thread::id thread;

 private:
  const std::weak_ptr<QXSensorsTestManager> manager_;
};

/// The shared facade on a machine with one temperature of 45 degrees and one voltage.
class SensorsTestManager : public testing::Test {
 protected:
  void SetUp() override {
    embedDatabase(databaseOf("Test1,1", {{"TC0P", "CPU proximity", "0", "90", "oC"},
                                         {"VC0C", "CPU core", "0.5", "2", "V"}}));
    installed_ = install(machineWith({key("FNum", "ui8 ", {1}), key("TC0P", "sp78", {0x2D, 0}),
                                      key("VC0C", "sp78", {0x01, 0x00})}));
    facade_ = QXHalvarin::sharedHalvarin();
    ASSERT_TRUE(facade_);
    manager_ = QXSensorsTestManager::sensorTestManager();
    delegate_ = std::make_shared<Delegate>(manager_);
    manager_->setDelegate(delegate_);
  }

  /// Waits for the pass that is under way and delivers its notification.
  static void deliver() {
    awaitWaitingWork();
    platform::MainThread::performPending();
  }
  /// An update of the facade that this manager did not ask for.
  void anotherUpdate() {
    facade_->readSensors();
    deliver();
  }
  void makeTooHot() { ASSERT_TRUE(installed_.machine->setReading("TC0P", 100)); }

  InstalledMachine installed_;
  std::shared_ptr<QXHalvarin> facade_;
  std::shared_ptr<QXSensorsTestManager> manager_;
  std::shared_ptr<Delegate> delegate_;
};

const Lines kLines{"CPU proximity: 45.00 °C, 113.00 °F", "CPU core: 1.00 V"};

// ---- before and after a test -------------------------------------------------------------------

TEST_F(SensorsTestManager, IsANewOneAtEveryCallInItsFirstState) {
  EXPECT_NE(QXSensorsTestManager::sensorTestManager(), manager_);
  EXPECT_NE(QXSensorsTestManager::init(), manager_);
  EXPECT_EQ(manager_->status(), "Passed");
  EXPECT_FALSE(manager_->doneTesting());
  EXPECT_FALSE(manager_->canceled());
  EXPECT_EQ(manager_->samples(), nullptr);
  EXPECT_EQ(manager_->smcsensors(), facade_);
  EXPECT_EQ(QXSensorsTestManager::init()->delegate(), nullptr);
}

TEST_F(SensorsTestManager, HealthyMachineIsPassedWithALineForEachSensor) {
  manager_->startTesting();
  EXPECT_FALSE(manager_->doneTesting());
  deliver();
  EXPECT_EQ(manager_->status(), "Passed");
  EXPECT_TRUE(manager_->doneTesting());
  EXPECT_FALSE(manager_->canceled());
  EXPECT_THAT(delegate_->delivered, ElementsAre(kLines));
}

TEST_F(SensorsTestManager, SamplesAreWhatTheNotificationBrought) {
  const Updates updates(facade_.get());
  manager_->startTesting();
  deliver();
  ASSERT_EQ(updates.received().size(), 1U);
  EXPECT_EQ(manager_->samples(), updates.received()[0].userInfo);
  EXPECT_EQ(manager_->samples()->count(), 7U);
}

TEST_F(SensorsTestManager, ReadingOutsideItsLimitsFailsTheTestWithStillAllTheLines) {
  makeTooHot();
  manager_->startTesting();
  deliver();
  EXPECT_EQ(manager_->status(), "Failed");
  EXPECT_THAT(delegate_->delivered,
              ElementsAre(Lines{"CPU proximity: 100.00 °C, 212.00 °F", "CPU core: 1.00 V"}));
}

TEST_F(SensorsTestManager, DelegateIsCalledOnTheMainThreadWhenTheVerdictStands) {
  makeTooHot();
  manager_->startTesting();
  deliver();
  EXPECT_EQ(delegate_->thread, std::this_thread::get_id());
  EXPECT_EQ(delegate_->status, "Failed");
  EXPECT_TRUE(delegate_->doneTesting);
}

TEST_F(SensorsTestManager, StartAsksForExactlyOneUpdate) {
  const Updates updates(facade_.get());
  const std::uint64_t before = installed_.machine->transferCount();
  manager_->startTesting();
  deliver();
  EXPECT_EQ(installed_.machine->transferCount() - before, 1U + 2U + 1U);
  EXPECT_EQ(updates.received().size(), 1U);
}

TEST_F(SensorsTestManager, SecondNotificationIsNotSeen) {
  manager_->startTesting();
  deliver();
  const DictionaryRef samples = manager_->samples();
  makeTooHot();
  anotherUpdate();
  EXPECT_EQ(manager_->status(), "Passed");
  EXPECT_EQ(manager_->samples(), samples);
  EXPECT_EQ(delegate_->delivered.size(), 1U);
}

TEST_F(SensorsTestManager, NotificationBeforeTheStartIsNotSeen) {
  anotherUpdate();
  EXPECT_FALSE(manager_->doneTesting());
  EXPECT_EQ(delegate_->delivered.size(), 0U);
}

TEST_F(SensorsTestManager, NotificationFromAnotherSenderIsIgnored) {
  const auto post = [](const void* sender) {
    NotificationCenter::defaultCenter().post({kSensorUpdateNotify, sender, Dictionary::make()});
  };
  manager_->startTesting();
  post(this);
  post(nullptr);
  EXPECT_FALSE(manager_->doneTesting());
  deliver();
  EXPECT_THAT(delegate_->delivered, ElementsAre(kLines));
}

TEST_F(SensorsTestManager, StartedTwiceTestsOneNotification) {
  Updates updates(facade_.get());
  manager_->startTesting();
  manager_->startTesting();
  updates.await(2);
  EXPECT_EQ(delegate_->delivered.size(), 1U);
}

TEST_F(SensorsTestManager, NotificationWithoutReadingsGivesNoLinesAndIsPassed) {
  manager_->sensorUpdateNotification({kSensorUpdateNotify, facade_.get(), nullptr});
  EXPECT_EQ(manager_->status(), "Passed");
  EXPECT_TRUE(manager_->doneTesting());
  EXPECT_THAT(delegate_->delivered, ElementsAre(Lines{}));
  manager_->sensorUpdateNotification({kSensorUpdateNotify, facade_.get(), Dictionary::make()});
  EXPECT_THAT(delegate_->delivered, ElementsAre(Lines{}, Lines{}));
}

TEST_F(SensorsTestManager, EndOfAnAnimationIsTheEndOfTheTest) {
  manager_->animationDidFinish();
  EXPECT_TRUE(manager_->doneTesting());
  EXPECT_EQ(manager_->status(), "Passed");
}

TEST_F(SensorsTestManager, PropertiesHoldWhatTheyAreGiven) {
  const auto samples = Dictionary::make();
  manager_->setSamples(samples);
  manager_->setStatus("Failed");
  manager_->setDoneTesting(true);
  manager_->setCanceled(true);
  manager_->setSmcsensors(nullptr);
  EXPECT_EQ(manager_->samples(), samples);
  EXPECT_EQ(manager_->status(), "Failed");
  EXPECT_TRUE(manager_->doneTesting());
  EXPECT_TRUE(manager_->canceled());
  EXPECT_EQ(manager_->smcsensors(), nullptr);
}

// ---- cancel ------------------------------------------------------------------------------------

TEST_F(SensorsTestManager, CanceledBeforeAnyNotificationIsCanceledAndNotDone) {
  manager_->cancel();
  EXPECT_EQ(manager_->status(), "Canceled");
  EXPECT_TRUE(manager_->canceled());
  EXPECT_FALSE(manager_->doneTesting());
  ASSERT_TRUE(manager_->samples());
  EXPECT_EQ(manager_->samples()->count(), 0U);
  EXPECT_EQ(delegate_->delivered.size(), 0U);
}

TEST_F(SensorsTestManager, DeliberateNotificationAfterCancelRunsTheTestInFullAndLeavesCanceled) {
  manager_->startTesting();
  manager_->cancel();
  deliver();
  EXPECT_EQ(manager_->status(), "Canceled");
  EXPECT_TRUE(manager_->canceled());
  EXPECT_TRUE(manager_->doneTesting());
  EXPECT_EQ(manager_->samples()->count(), 7U);
  EXPECT_THAT(delegate_->delivered, ElementsAre(kLines));
}

TEST_F(SensorsTestManager, DeliberateReadingOutsideAfterCancelMakesItFailed) {
  makeTooHot();
  manager_->startTesting();
  manager_->cancel();
  deliver();
  EXPECT_EQ(manager_->status(), "Failed");
  EXPECT_TRUE(manager_->canceled());
}

TEST_F(SensorsTestManager, CancelAfterTheTestMakesItCanceledAndEmpty) {
  manager_->startTesting();
  deliver();
  manager_->cancel();
  EXPECT_EQ(manager_->status(), "Canceled");
  EXPECT_TRUE(manager_->doneTesting());
  EXPECT_EQ(manager_->samples()->count(), 0U);
}

// ---- what is gone ------------------------------------------------------------------------------

TEST_F(SensorsTestManager, DroppedDelegateLosesTheLinesAndTheVerdictStays) {
  makeTooHot();
  manager_->startTesting();
  delegate_ = nullptr;
  EXPECT_EQ(manager_->delegate(), nullptr);
  deliver();
  EXPECT_EQ(manager_->status(), "Failed");
  EXPECT_TRUE(manager_->doneTesting());
}

TEST_F(SensorsTestManager, DroppedManagerHearsNothing) {
  manager_->startTesting();
  const std::weak_ptr<QXSensorsTestManager> weak = manager_;
  manager_ = nullptr;
  EXPECT_TRUE(weak.expired());
  deliver();
  EXPECT_EQ(delegate_->delivered.size(), 0U);
}

TEST_F(SensorsTestManager, ManagerMayBeDroppedByItsDelegate) {
  class Dropping : public SensorsTestDelegate {
   public:
    explicit Dropping(std::shared_ptr<QXSensorsTestManager>& manager) : manager_(manager) {}
    void updateSensorProgress(const Lines& /*lines*/) override { manager_ = nullptr; }

   private:
    std::shared_ptr<QXSensorsTestManager>& manager_;
  };
  const auto dropping = std::make_shared<Dropping>(manager_);
  manager_->setDelegate(dropping);
  manager_->startTesting();
  deliver();
  EXPECT_EQ(manager_, nullptr);
}

TEST_F(SensorsTestManager, TwoManagersTestOneAfterTheOther) {
  const auto second = QXSensorsTestManager::sensorTestManager();
  const auto itsDelegate = std::make_shared<Delegate>(second);
  second->setDelegate(itsDelegate);
  manager_->startTesting();
  deliver();
  second->startTesting();
  deliver();
  EXPECT_THAT(delegate_->delivered, ElementsAre(kLines));
  EXPECT_THAT(itsDelegate->delivered, ElementsAre(kLines));
}

TEST(SensorsTestManagerWithoutFacade, HearsNothingAndIsNeverDone) {
  CapturedLog log;  // the section holds no database
  const auto manager = QXSensorsTestManager::sensorTestManager();
  EXPECT_EQ(manager->smcsensors(), nullptr);
  manager->startTesting();
  NotificationCenter::defaultCenter().post({kSensorUpdateNotify, &manager, Dictionary::make()});
  NotificationCenter::defaultCenter().post({kSensorUpdateNotify, nullptr, Dictionary::make()});
  EXPECT_EQ(platform::MainThread::performPending(), 0U);
  EXPECT_FALSE(manager->doneTesting());
  EXPECT_EQ(manager->status(), "Passed");
  EXPECT_EQ(manager->samples(), nullptr);
}

}  // namespace
}  // namespace halvarin::test
