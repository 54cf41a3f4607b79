#include "selftest/QXFanTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "base/Exception.h"
#include "base/FileBytes.h"
#include "platform/HostServices.h"
#include "platform/LocalTime.h"
#include "platform/MainThread.h"
#include "selftest/TestLog.h"
#include "tests/support/CapturedLog.h"
#include "tests/unit/selftest/FanTests.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A fan as the facade describes it.
DictionaryRef fanAttribs(std::uint32_t index, const char* location) {
  return std::make_shared<Dictionary>(Dictionary::Entries{{"index", index},
                                                          {"enabled", index < 15 ? 1 : 0},
                                                          {"mode", 0},
                                                          {"speed", 2000.5},
                                                          {"location", location}});
}

class FanTest : public FanTestCase {
 protected:
  void startAs(const std::string& model) {
    auto machine = fanMachine(FanStyle::modeKeys);
    machine.model = model;
    startOn(std::move(machine));
  }
  [[nodiscard]] std::shared_ptr<QXFanTest> test(std::uint32_t index,
                                                const char* location = "Left side  ") const {
    return QXFanTest::fanTestWithAttribs(*fanAttribs(index, location), owner_);
  }
};

// ---- what a test is made from ------------------------------------------------------------------

TEST_F(FanTest, TakesWhatItIsFromTheFansDictionary) {
  startAs("Test1,1");
  const auto made = test(1);
  EXPECT_EQ(made->fanLocation(), "Left side  ");
  EXPECT_EQ(made->fanLocationLocalized(), "Left side");
  EXPECT_EQ(made->fanSpeed().doubleValue(), 2000.5);
  EXPECT_TRUE(made->enabled());
  EXPECT_TRUE(made->selected());
  EXPECT_EQ(made->status(), "");
  EXPECT_EQ(made->delegate(), owner_);
  EXPECT_THAT(owner_->told(), IsEmpty());
  EXPECT_FALSE(test(15)->enabled());
}

TEST_F(FanTest, NameForPeopleIsTheHostsTranslationOfTheTrimmedLocation) {
  startAs("Test1,1");
  platform::setTextTranslator([](std::string_view text) -> std::optional<std::string> {
    return text == "Left side" ? std::optional<std::string>("Links") : std::nullopt;
  });
  EXPECT_EQ(test(0)->fanLocationLocalized(), "Links");
  EXPECT_EQ(test(0, "Right")->fanLocationLocalized(), "Right");
  EXPECT_EQ(test(0)->fanLocation(), "Left side  ");
}

TEST_F(FanTest, DelegateIsNotKeptAlive) {
  startAs("Test1,1");
  auto owner = std::make_shared<TestOwner>();
  const auto made = QXFanTest::fanTestWithAttribs(*fanAttribs(0, "Left"), owner);
  EXPECT_EQ(made->delegate(), owner);
  owner = nullptr;
  EXPECT_EQ(made->delegate(), nullptr);
  made->setSelected(false);
  EXPECT_FALSE(made->selected());
}

TEST_F(FanTest, WithoutADelegateItReadsOnAQueueOfItsOwn) {
  startAs("Test1,1");
  const auto made = QXFanTest::initWithAttribs(*facade_->readFans()->at(0).dictionary(),
                                               std::weak_ptr<TestOwner>());
  made->startTestWithProgress(nullptr, nullptr);
  EXPECT_EQ(made->status(), "Passed");
}

TEST_F(FanTest, PropertiesHoldWhatTheyAreGiven) {
  startAs("Test1,1");
  const auto made = test(0);
  made->setStatus("Failed");
  made->setFanLocation("Elsewhere");
  made->setFanLocationLocalized("Anderswo");
  made->setFanSpeed("12");
  made->setEnabled(false);
  made->setDelegate(std::weak_ptr<FanTestOwner>());
  EXPECT_EQ(made->status(), "Failed");
  EXPECT_EQ(made->fanLocation(), "Elsewhere");
  EXPECT_EQ(made->fanLocationLocalized(), "Anderswo");
  EXPECT_EQ(made->fanSpeed(), Value("12"));
  EXPECT_FALSE(made->enabled());
  EXPECT_EQ(made->delegate(), nullptr);
}

TEST_F(FanTest, ItsEndHandsTheFanBack) {
  startAs("Test1,1");
  static_cast<void>(test(1));
  EXPECT_THAT(writes(), ElementsAre("F1md 00"));
}

TEST(FanTestWithoutFacade, CommandsNothingAndCanBeCanceled) {
  CapturedLog log;  // the section holds no database
  const TestLogFolder logs;
  const auto clock = std::make_shared<SteppingClock>();
  platform::setMachine(nullptr, clock);
  const auto made =
      QXFanTest::fanTestWithAttribs(*fanAttribs(0, "Left"), std::weak_ptr<FanTestOwner>());
  platform::Queue("ender", platform::Queue::Kind::serial).async([&] {
    while (clock->now() < std::chrono::seconds(2)) {
    }
    made->cancel();
  });
  made->startTestWithProgress(nullptr, nullptr);
  EXPECT_EQ(made->status(), "Canceled");
}

// ---- selection ---------------------------------------------------------------------------------

TEST_F(FanTest, SelectingTellsTheDelegateBeforeAndAfter) {
  startAs("Test1,1");
  const auto made = test(14);
  made->setSelected(false);
  EXPECT_FALSE(made->selected());
  made->setSelected(false);
  made->setSelected(true);
  EXPECT_TRUE(made->selected());
  const std::string will = "will selectedFanTests";
  const std::string did = "did selectedFanTests";
  EXPECT_THAT(owner_->told(), ElementsAre(will, did, will, did, will, did));
}

TEST_F(FanTest, SelectionStandsBetweenTheTwoNotices) {
  class Looking : public TestOwner {
   public:
    void willChangeValueForKey(std::string_view) override { before = test.lock()->selected(); }
    void didChangeValueForKey(std::string_view) override { after = test.lock()->selected(); }
    std::weak_ptr<QXFanTest> test;
    bool before = false;
    bool after = true;
  };
  startAs("Test1,1");
  const auto owner = std::make_shared<Looking>();
  const auto made = QXFanTest::fanTestWithAttribs(*fanAttribs(0, "Left"), owner);
  owner->test = made;
  made->setSelected(false);
  EXPECT_TRUE(owner->before);
  EXPECT_FALSE(owner->after);
}

TEST_F(FanTest, FanWithIndex15OrAboveStartsUnselectedAndCannotBeSelected) {
  startAs("Test1,1");
  for (const std::uint32_t index : {15U, 16U, 4294967295U}) {
    const auto made = test(index);
    EXPECT_FALSE(made->selected());
    made->setSelected(true);
    EXPECT_FALSE(made->selected());
  }
  EXPECT_THAT(owner_->told(), IsEmpty());
}

TEST_F(FanTest, SpecialFanStartsUnselectedAndSelectingItWarnsWithoutWaiting) {
  startAs("iMac9,1");
  std::vector<std::string> shown;
  platform::setAlertPresenter([&shown](const platform::Alert& alert) {
    shown = {alert.messageText, alert.defaultButton, alert.informativeText};
  });
  const auto made = test(0, "ODD");
  EXPECT_FALSE(made->selected());
  made->setSelected(true);
  EXPECT_TRUE(made->selected());
  EXPECT_THAT(shown, IsEmpty());
  EXPECT_EQ(platform::MainThread::performPending(), 1U);
  EXPECT_THAT(shown, ElementsAre("Warning!", "OK", "ODD Warning"));
  made->setSelected(false);
  EXPECT_EQ(platform::MainThread::performPending(), 0U);
}

TEST_F(FanTest, TextOfTheWarningIsAFormatForNothing) {
  startAs("iMac9,1");
  std::string shown;
  platform::setAlertPresenter(
      [&shown](const platform::Alert& alert) { shown = alert.informativeText; });
  platform::setTextTranslator([](std::string_view text) -> std::optional<std::string> {
    return text == "ODD Warning" ? std::optional<std::string>("Take the disc out%@, 100 %% sure?")
                                 : std::nullopt;
  });
  test(0, "ODD")->setSelected(true);
  platform::MainThread::performPending();
  EXPECT_EQ(shown, "Take the disc out, 100 % sure?");
}

TEST_F(FanTest, WarningGoesToTheSystemLogWhereTheHostShowsNone) {
  startAs("iMac9,1");
  CapturedLog log;
  test(0, "ODD")->setSelected(true);
  EXPECT_THAT(log.lines(), ElementsAre("Warning! ODD Warning"));
}

TEST_F(FanTest, SpecialFanThatCannotBeSelectedStillWarns) {
  startAs("iMac9,1");
  CapturedLog log;
  const auto made = test(15, "ODD");
  made->setSelected(true);
  EXPECT_FALSE(made->selected());
  EXPECT_THAT(log.lines(), ElementsAre("Warning! ODD Warning"));
}

TEST_F(FanTest, OnlyThatFanOfThatModelIsSpecial) {
  startAs("iMac9,1");
  for (const char* location : {"ODD ", "odd", "HDD", ""}) {
    EXPECT_TRUE(test(0, location)->selected()) << location;
  }
}

TEST_F(FanTest, FanOfThatNameIsNotSpecialOnOtherModels) {
  startAs("iMac9,2");
  EXPECT_TRUE(test(0, "ODD")->selected());
}

// ---- logs, files, lines ------------------------------------------------------------------------

TEST_F(FanTest, LogsUnderTheGivenName) {
  startAs("Test1,1");
  QXFanTest::log("mine", "something");
  QXFanTest::log(std::nullopt, std::nullopt);
  EXPECT_THAT(logged("mine"), ElementsAre("something"));
  EXPECT_THAT(logged("qrb"), ElementsAre(""));
}

TEST_F(FanTest, SavesLinesUnderItsLocationTheModelAndTheUser) {
  startAs("iMac9,1");
  const auto made = test(0, "Left side  ");
  const auto before = platform::localTime();
  made->saveFanAsCSV(*Array::make({"a;b", "1;2"}), "me");
  std::string path = csvPath("Left side  ", "iMac9,1", "me", before);
  if (!std::filesystem::exists(path)) {
    path = csvPath("Left side  ", "iMac9,1", "me", platform::localTime());
  }
  EXPECT_THAT(path, testing::HasSubstr("/fantest_csv/left side  _iMac9,1_me_"));
  EXPECT_EQ(fileBytes(path), "a;b\n1;2\n");
}

TEST_F(FanTest, FitsALine) {
  startAs("Test1,1");
  double slope = 0;
  double intercept = 0;
  double sdx = 0;
  double sdy = 0;
  double r2 = 0;
  const auto made = test(0);
  EXPECT_EQ(made->linearRegression(*Array::make({1000, 1100, 1200, 1300}), slope, intercept, sdx,
                                   sdy, r2),
            0);
  EXPECT_EQ(slope, 100);
  EXPECT_EQ(intercept, 1000);
  EXPECT_EQ(r2, 1);
  EXPECT_EQ(sdx, std::sqrt(1.25));
  EXPECT_EQ(sdy, std::sqrt(12500));
  EXPECT_EQ(made->linearRegression(*Array::make(), slope, intercept, sdx, sdy, r2), 0);
  EXPECT_TRUE(std::isnan(slope));
}

TEST_F(FanTest, ResultsOfTheFitAreWrittenInAFixedOrder) {
  startAs("Test1,1");
  double all = 0;
  test(0)->linearRegression(*Array::make({5, 5, 5}), all, all, all, all, all);
  EXPECT_EQ(all, 0);  // "sdy" comes last
  double slopeAndR2 = 0;
  double rest = 0;
  test(0)->linearRegression(*Array::make({5, 5, 5}), slopeAndR2, rest, rest, rest, slopeAndR2);
  EXPECT_EQ(slopeAndR2, 0);  // "r2", not-a-number here, comes first
}

}  // namespace
}  // namespace halvarin::test
