#include "host/fantest/FanTestWatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "base/Exception.h"
#include "sensors/FanRecord.h"
#include "smc/KeyRecord.h"
#include "smc/QXSMCInterface.h"
#include "tests/unit/selftest/FanTests.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using host::FanTestWatch;
using testing::ElementsAre;

/// A watch over a fan of a machine whose time passes only by waiting.
class FanWatch : public FanTestCase {
 protected:
  void SetUp() override {
    startOn(fanMachine(FanStyle::modeKeys));
    test_ = testOf(1);
    watch_ =
        std::make_shared<FanTestWatch>(std::vector<FanTestWatch::Fan>{{1, "Fan 1", test_}},
                                       [this](const std::string& line) { lines_.push_back(line); });
  }
  void run() {
    test_->startTestWithProgress(
        nullptr, [this](const DictionaryRef& fan) { watch_->updateFanProgress(fan); });
  }

  [[nodiscard]] DictionaryRef reading() { return facade_->readFans()->at(1).dictionary(); }
  /// One with a limit of 0, which is what a key leaves that the controller refused without a
  /// status.
  [[nodiscard]] DictionaryRef readingWithout(std::string_view limit, std::string_view key) {
    const DictionaryRef fan = reading();
    fan->set(limit, 0);
    QXSMCInterface::sharedSMC()->keyDict()->get(key).dictionary()->set(record::kValue, "0");
    return fan;
  }

  void refuse() {
    EXPECT_THROW(watch_->updateFanProgress(readingWithout(fan::kMax, "F1Mx")), Exception);
  }

  std::shared_ptr<QXFanTest> test_;
  std::shared_ptr<FanTestWatch> watch_;
  std::vector<std::string> lines_;
};

TEST_F(FanWatch, FanWaitsBeforeItsFirstReading) {
  const auto views = watch_->views();
  ASSERT_EQ(views.size(), 1U);
  EXPECT_EQ(views[0].name, "Fan 1");
  EXPECT_EQ(views[0].state, "waiting");
  EXPECT_EQ(views[0].doneShare, 0);
  EXPECT_FALSE(views[0].hasReading);
  EXPECT_EQ(watch_->samples(), 0);
  EXPECT_EQ(watch_->seen(1).lowestRpm, std::nullopt);
}

TEST_F(FanWatch, EveryStateIsToldOnce) {
  run();
  std::vector<std::string> states;
  for (const std::string& line : lines_) {
    states.push_back(line.substr(7, line.find(',') - 7));
  }
  EXPECT_THAT(states, ElementsAre("init", "set_max", "wait_speed", "rah_max", "set_min", "rah_min",
                                  "automode", "animate_done"));
}

TEST_F(FanWatch, KeepsTheExtremesAndALineForEveryReading) {
  run();
  const auto seen = watch_->seen(1);
  EXPECT_NEAR(seen.lowestRpm.value_or(0), 1200, 100);
  EXPECT_NEAR(seen.highestRpm.value_or(0), 6000, 100);
  EXPECT_EQ(seen.csvLines.size(), static_cast<std::size_t>(test_->progress().sample));
  EXPECT_EQ(watch_->samples(), test_->progress().sample);
  EXPECT_EQ(seen.csvLines[1].substr(0, 9), "1,set_max");
}

TEST_F(FanWatch, TestThatHasEndedShowsItsVerdictAndAFullBar) {
  run();
  EXPECT_EQ(watch_->views()[0].state, "Passed");
  EXPECT_EQ(watch_->views()[0].doneShare, 1);
}

TEST_F(FanWatch, CanceledTestStaysWhereItWas) {
  test_->startTestWithProgress(nullptr, [this](const DictionaryRef& fan) {
    watch_->updateFanProgress(fan);
    if (test_->progress().state == "rah_max") {
      test_->cancel();
    }
  });
  EXPECT_EQ(watch_->views()[0].state, "Canceled");
  EXPECT_GT(watch_->views()[0].doneShare, 0);
  EXPECT_LT(watch_->views()[0].doneShare, 0.1);
}

TEST_F(FanWatch, BarNeverGoesBack) {
  double before = 0;
  test_->startTestWithProgress(nullptr, [&](const DictionaryRef& fan) {
    watch_->updateFanProgress(fan);
    EXPECT_GE(watch_->views()[0].doneShare, before);
    before = watch_->views()[0].doneShare;
  });
  EXPECT_GT(before, 0.98);
}

TEST_F(FanWatch, ReadingWithoutALimitThatWasThereIsRefusedForTheLastGoodOne) {
  watch_->updateFanProgress(reading());
  EXPECT_THROW(watch_->updateFanProgress(readingWithout(fan::kMin, "F1Mn")), Exception);
  EXPECT_THROW(watch_->updateFanProgress(readingWithout(fan::kMax, "F1Mx")), Exception);
  EXPECT_EQ(watch_->seen(1).csvLines.size(), 1U);
  watch_->endRefusals();
  const DictionaryRef last = readingWithout(fan::kMax, "F1Mx");
  watch_->updateFanProgress(last);
  EXPECT_EQ(last->get(fan::kMax).doubleValue(), 6000);
}

TEST_F(FanWatch, FirstReadingWithoutAHighestSpeedIsRefused) {
  EXPECT_THROW(watch_->updateFanProgress(readingWithout(fan::kMax, "F1Mx")), Exception);
}

TEST_F(FanWatch, FanThatMayStandStillIsRead) {
  watch_->updateFanProgress(readingWithout(fan::kMin, "F1Mn"));
  watch_->updateFanProgress(readingWithout(fan::kMin, "F1Mn"));
  EXPECT_EQ(watch_->seen(1).csvLines.size(), 2U);
}

TEST_F(FanWatch, FanIsUnreadAfterTenSecondsAndEightRefusalsInARow) {
  constexpr int kRefusals = 8;
  for (int i = 0; i < kRefusals; ++i) {
    EXPECT_FALSE(watch_->unreadFan()) << i;
    refuse();
    clock_->sleepFor(11s);  // a thread that had to wait so long for its turn
  }
  const auto unread = watch_->unreadFan();
  ASSERT_TRUE(unread);
  EXPECT_EQ(unread->name, "Fan 1");
  EXPECT_EQ(unread->key.key, "F1Mx");
}

TEST_F(FanWatch, FanIsNotUnreadBeforeTenSeconds) {
  for (int i = 0; i < 40; ++i) {
    refuse();
    EXPECT_FALSE(watch_->unreadFan()) << i;
    clock_->sleepFor(249ms);
  }
  clock_->sleepFor(40ms);
  EXPECT_TRUE(watch_->unreadFan());
}

TEST_F(FanWatch, GoodReadingMakesTheRefusalsBeforeItForgotten) {
  for (int i = 0; i < 7; ++i) {
    refuse();
  }
  clock_->sleepFor(11s);
  watch_->updateFanProgress(reading());
  refuse();
  clock_->sleepFor(11s);
  EXPECT_FALSE(watch_->unreadFan());
}

TEST_F(FanWatch, FanThatIsNotWatchedIsPassedOver) {
  watch_->updateFanProgress(facade_->readFans()->at(0).dictionary());
  EXPECT_FALSE(watch_->views()[0].hasReading);
  EXPECT_EQ(watch_->seen(0).lowestRpm, std::nullopt);
}

TEST_F(FanWatch, KeepsNoTestAlive) {
  test_ = nullptr;
  EXPECT_EQ(writes().back(), "F1md 00");
  watch_->updateFanProgress(facade_->readFans()->at(1).dictionary());
  EXPECT_FALSE(watch_->views()[0].hasReading);
  EXPECT_EQ(watch_->samples(), 0);
}

}  // namespace
}  // namespace halvarin::test
