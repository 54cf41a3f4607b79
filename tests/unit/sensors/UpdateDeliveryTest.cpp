// Which thread makes a pass, and how its notification reaches the main thread.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "platform/Queue.h"
#include "tests/support/Facades.h"
#include "tests/support/Updates.h"
#include "tests/support/WireTap.h"

namespace halvarin::test {
namespace {

class UpdateDelivery : public FacadeTest {
 protected:
  void SetUp() override {
    start({key("F0Ac", "fpe2", {0x1F, 0x40}), key("FNum", "ui8 ", {1}),
           key("TC0P", "sp78", {0x2D, 0}), key("VC0C", "sp78", {3, 0})},
          {{"TC0P", "CPU proximity"}, {"VC0C", "CPU voltage"}});
  }
};

TEST_F(UpdateDelivery, NotificationComesFromTheFacadeOnTheMainThread) {
  Updates fromFacade(facade_.get());
  const Updates fromAnother(this);
  facade_->requestSensorUpdate();
  fromFacade.await(1);
  ASSERT_EQ(fromFacade.received().size(), 1U);
  EXPECT_EQ(fromFacade.received()[0].sender, facade_.get());
  EXPECT_EQ(fromFacade.received()[0].thread, std::this_thread::get_id());
  EXPECT_EQ(fromAnother.received().size(), 0U);
}

TEST_F(UpdateDelivery, WithoutARunningMainThreadNothingIsDelivered) {
  const Updates updates;
  facade_->requestSensorUpdate();
  awaitWaitingWork();  // the pass is over
  EXPECT_EQ(updates.received().size(), 0U);
  EXPECT_EQ(platform::MainThread::performPending(), 1U);
  EXPECT_EQ(updates.received().size(), 1U);
}

TEST_F(UpdateDelivery, PassOnTheCallersThreadIsDeliveredLaterToo) {
  const Updates updates;
  facade_->readSensors();
  EXPECT_EQ(updates.received().size(), 0U);
  EXPECT_EQ(platform::MainThread::performPending(), 1U);
  EXPECT_EQ(updates.received().size(), 1U);
}

TEST_F(UpdateDelivery, PostingIsSynchronous) {
  const Updates updates(facade_.get());
  const auto userInfo = Dictionary::make();
  facade_->updateNotifications(userInfo);
  ASSERT_EQ(updates.received().size(), 1U);
  EXPECT_EQ(updates.received()[0].userInfo, userInfo);
}

TEST_F(UpdateDelivery, ObserverMayAskForTheNextUpdate) {
  Updates updates(facade_.get());
  int asked = 0;
  const auto token = NotificationCenter::defaultCenter().addObserver(
      kSensorUpdateNotify, facade_.get(), [&](const Notification&) {
        if (++asked < 3) {
          facade_->requestSensorUpdate();
        }
      });
  facade_->requestSensorUpdate();
  updates.await(3);
  EXPECT_EQ(asked, 3);
  NotificationCenter::defaultCenter().removeObserver(token);
}

TEST_F(UpdateDelivery, FacadeLivesUntilItsNotificationIsDelivered) {
  Updates updates;
  facade_->requestSensorUpdate();
  facade_ = nullptr;
  updates.await(1);
  EXPECT_EQ(updates.received().size(), 1U);
  EXPECT_EQ(updates.received()[0].userInfo->count(), 7U);
}

/// Numbers the passes by the power source that each asks for at its beginning, notes the threads
/// that transfer, and holds the first transfer until it is let go.
class HeldMachine : public WireTap {
 public:
  using WireTap::WireTap;

  [[nodiscard]] platform::MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                             std::span<const std::uint8_t> request,
                                             std::span<std::uint8_t> reply,
                                             std::size_t& replySize) override {
    if (std::this_thread::get_id() == tests_) {
      ++onTestsThread_;
    }
    if (!reached_.exchange(true)) {
      held.signal();
      letGo.wait();
    }
    return WireTap::call(connection, selector, request, reply, replySize);
  }
  [[nodiscard]] std::string powerSource() override { return "AC " + std::to_string(++passes_); }

  [[nodiscard]] int transfersOnTestsThread() const { return onTestsThread_; }

  const platform::Semaphore held;
  const platform::Semaphore letGo;

 private:
  const std::thread::id tests_ = std::this_thread::get_id();
  std::atomic<bool> reached_ = false;
  std::atomic<int> passes_ = 0;
  std::atomic<int> onTestsThread_ = 0;
};

TEST_F(UpdateDelivery, TwoRequestsGiveTwoNotificationsInTheOrderInWhichTheirPassesFinish) {
  const auto machine = std::make_shared<HeldMachine>(installed_.machine);
  platform::setMachine(machine);
  Updates updates(facade_.get());
  facade_->requestSensorUpdate();
  machine->held.wait();
  facade_->requestSensorUpdate();
  updates.await(1);
  machine->letGo.signal();
  updates.await(2);
  ASSERT_EQ(updates.received().size(), 2U);
  EXPECT_EQ(updates.received()[0].userInfo->get("powerSource"), Value("AC 2"));
  EXPECT_EQ(updates.received()[1].userInfo->get("powerSource"), Value("AC 1"));
  EXPECT_NE(updates.received()[0].userInfo, updates.received()[1].userInfo);
}

TEST_F(UpdateDelivery, RequestReturnsWhileItsPassGoesOnOnAnotherThread) {
  const auto machine = std::make_shared<HeldMachine>(installed_.machine);
  platform::setMachine(machine);
  Updates updates(facade_.get());
  facade_->requestSensorUpdate();  // returns although its first transfer is held
  machine->held.wait();
  EXPECT_EQ(updates.received().size(), 0U);
  machine->letGo.signal();
  updates.await(1);
  EXPECT_EQ(machine->transfersOnTestsThread(), 0);
}

TEST_F(UpdateDelivery, AllNotificationsOf200OverlappingRequestsArrive) {
  constexpr std::size_t kRequests = 200;
  constexpr std::size_t kTransfersOfAPass = 2 + 2 * 1 + 1;
  Updates updates(facade_.get());
  for (std::size_t i = 0; i < kRequests; ++i) {
    facade_->requestSensorUpdate();
  }
  updates.await(kRequests);
  EXPECT_EQ(updates.received().size(), kRequests);
  EXPECT_EQ(platform::MainThread::performPending(), 0U);
  EXPECT_EQ(transfers(), kRequests * kTransfersOfAPass);
  for (const Updates::Received& each : updates.received()) {
    EXPECT_EQ(each.userInfo->count(), 7U);
  }
  EXPECT_EQ(record("TC0P")->get("value"), Value("45.00"));
}

TEST_F(UpdateDelivery, RequestsMayComeFromAnyThread) {
  constexpr std::size_t kThreads = 8;
  Updates updates(facade_.get());
  std::vector<std::thread> hosts;
  for (std::size_t i = 0; i < kThreads; ++i) {
    hosts.emplace_back([this] { facade_->requestSensorUpdate(); });
  }
  for (std::thread& host : hosts) {
    host.join();
  }
  updates.await(kThreads);
  EXPECT_EQ(updates.received().size(), kThreads);
}

}  // namespace
}  // namespace halvarin::test
