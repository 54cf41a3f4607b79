#include "platform/HostServices.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "platform/MainThread.h"
#include "tests/support/CapturedLog.h"

namespace halvarin::test {
namespace {

using Lines = std::vector<std::string>;
using platform::Alert;
using platform::MainThread;

/// German for one text.
std::optional<std::string> german(std::string_view text) {
  return text == "Warning!" ? std::optional<std::string>("Warnung!") : std::nullopt;
}

Alert oddWarning() {
  return {"Warning!", "OK", "Do not force this fan."};
}

/// Notes the button too, so that each part of an alert is seen.
platform::AlertPresenter into(Lines& shown) {
  return [&shown](const Alert& alert) {
    shown.push_back(alert.messageText + "|" + alert.defaultButton + "|" + alert.informativeText);
  };
}

/// What a test sets is taken back.
class HostServicesOfAHost : public testing::Test {
 protected:
  ~HostServicesOfAHost() override {
    platform::setTextTranslator(nullptr);
    platform::setAlertPresenter(nullptr);
  }
};

TEST(HostServices, NamesTheEndOfTheApplicationAsThePlatformDoes) {
  EXPECT_EQ(platform::kApplicationWillTerminate, "NSApplicationWillTerminateNotification");
}

TEST_F(HostServicesOfAHost, WithoutATranslatorATextStaysAsItIs) {
  EXPECT_EQ(platform::localizedText("Warning!"), "Warning!");
  EXPECT_EQ(platform::localizedText(""), "");
}

TEST_F(HostServicesOfAHost, ATextIsWhatTheTranslatorMakesOfIt) {
  platform::setTextTranslator(german);
  EXPECT_EQ(platform::localizedText("Warning!"), "Warnung!");
}

TEST_F(HostServicesOfAHost, ATextThatTheTranslatorDoesNotKnowStaysAsItIs) {
  platform::setTextTranslator(german);
  EXPECT_EQ(platform::localizedText("OK"), "OK");
}

TEST_F(HostServicesOfAHost, AnEmptyTranslationIsOne) {
  platform::setTextTranslator([](std::string_view) { return std::string(); });
  EXPECT_EQ(platform::localizedText("OK"), "");
}

TEST_F(HostServicesOfAHost, AnEmptyTranslatorEndsTheTranslating) {
  platform::setTextTranslator(german);
  platform::setTextTranslator(platform::TextTranslator());
  EXPECT_EQ(platform::localizedText("Warning!"), "Warning!");
}

TEST_F(HostServicesOfAHost, ATranslatorMayAskAndReplaceItself) {
  platform::setTextTranslator([held = std::make_shared<std::string>("second")](std::string_view) {
    platform::setTextTranslator(german);
    return platform::localizedText("Warning!") + " " + *held;
  });
  EXPECT_EQ(platform::localizedText("first"), "Warnung! second");
  EXPECT_EQ(platform::localizedText("first"), "first");
}

TEST_F(HostServicesOfAHost, TextsAreTranslatedBySeveralThreadsWhileTheTranslatorChanges) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 500; ++round) {
        const std::string text = platform::localizedText("Warning!");
        EXPECT_TRUE(text == "Warning!" || text == "Warnung!") << text;
      }
    });
  }
  for (int round = 0; round < 200; ++round) {
    platform::setTextTranslator(german);
    platform::setTextTranslator(nullptr);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST_F(HostServicesOfAHost, AnAlertReachesThePresenterLaterOnTheMainThread) {
  Lines shown;
  std::thread::id thread;
  platform::setAlertPresenter([&, show = into(shown)](const Alert& alert) {
    thread = std::this_thread::get_id();
    show(alert);
  });
  std::thread([] { platform::showAlert(oddWarning()); }).join();
  EXPECT_EQ(shown, Lines{});
  EXPECT_EQ(MainThread::performPending(), 1U);
  EXPECT_EQ(shown, Lines{"Warning!|OK|Do not force this fan."});
  EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(HostServicesOfAHost, AlertsOfOneThreadKeepTheirOrder) {
  Lines shown;
  platform::setAlertPresenter(into(shown));
  platform::showAlert({"1", "a", "x"});
  platform::showAlert({"2", "b", "y"});
  EXPECT_EQ(MainThread::performPending(), 2U);
  EXPECT_EQ(shown, (Lines{"1|a|x", "2|b|y"}));
}

TEST_F(HostServicesOfAHost, ThePresenterOfTheMomentOfTheAlertShowsIt) {
  Lines first;
  Lines second;
  platform::setAlertPresenter(into(first));
  platform::showAlert(oddWarning());
  platform::setAlertPresenter(into(second));
  platform::showAlert({"2", "b", "y"});
  platform::setAlertPresenter(nullptr);
  EXPECT_EQ(MainThread::performPending(), 2U);
  EXPECT_EQ(first, Lines{"Warning!|OK|Do not force this fan."});
  EXPECT_EQ(second, Lines{"2|b|y"});
}

TEST_F(HostServicesOfAHost, WithoutAPresenterAnAlertIsOneLineOfTheSystemLog) {
  CapturedLog log;
  platform::showAlert(oddWarning());
  platform::showAlert({"Warning!", "OK", ""});
  platform::showAlert({"Two\nlines", "OK", "and\ntwo more, 100% of %s"});
  EXPECT_EQ(log.lines(), (Lines{"Warning! Do not force this fan.", "Warning! ",
                                "Two lines and two more, 100% of %s"}));
  EXPECT_EQ(MainThread::performPending(), 0U);
}

TEST_F(HostServicesOfAHost, WithAPresenterTheSystemLogHearsNothing) {
  CapturedLog log;
  Lines shown;
  platform::setAlertPresenter(into(shown));
  platform::showAlert(oddWarning());
  EXPECT_EQ(MainThread::performPending(), 1U);
  EXPECT_EQ(log.lines(), Lines{});
  platform::setAlertPresenter(platform::AlertPresenter());
  platform::showAlert(oddWarning());
  EXPECT_EQ(log.lines(), Lines{"Warning! Do not force this fan."});
  EXPECT_EQ(shown.size(), 1U);
}

TEST_F(HostServicesOfAHost, WhatAReplacedFunctionHeldIsLetGo) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = held;
  platform::setTextTranslator([held](std::string_view) { return std::optional<std::string>(); });
  platform::setAlertPresenter([held = std::move(held)](const Alert&) {});
  platform::setTextTranslator(nullptr);
  EXPECT_FALSE(watch.expired());
  platform::setAlertPresenter(nullptr);
  EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace halvarin::test
