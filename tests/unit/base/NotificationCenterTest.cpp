#include "base/NotificationCenter.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Dictionary.h"

namespace halvarin::test {
namespace {

using Token = NotificationCenter::Token;

/// A center whose observers write what they get into one journal.
class NotificationCenterTest : public testing::Test {
 protected:
  NotificationCenter::Observer writing(std::string who) {
    return [this, who = std::move(who)](const Notification& notification) {
      journal_ += who + ":" + notification.name + " ";
    };
  }

  NotificationCenter center_;
  std::string journal_;
  int senderA_ = 0;
  int senderB_ = 0;
};

TEST_F(NotificationCenterTest, DeliversToObserversOfTheNameOnly) {
  static_cast<void>(center_.addObserver("begin", nullptr, writing("a")));
  static_cast<void>(center_.addObserver("end", nullptr, writing("b")));
  center_.post({"begin", nullptr, nullptr});
  EXPECT_EQ(journal_, "a:begin ");
  center_.post({"Begin", nullptr, nullptr});
  center_.post({"", nullptr, nullptr});
  EXPECT_EQ(journal_, "a:begin ");
}

TEST_F(NotificationCenterTest, DeliversInTheOrderOfRegistration) {
  for (const char* who : {"c", "a", "b"}) {
    static_cast<void>(center_.addObserver("go", nullptr, writing(who)));
  }
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(journal_, "c:go a:go b:go ");
}

TEST_F(NotificationCenterTest, AnObserverOfASenderGetsOnlyItsNotifications) {
  static_cast<void>(center_.addObserver("go", &senderA_, writing("a")));
  static_cast<void>(center_.addObserver("go", nullptr, writing("any")));
  center_.post({"go", &senderA_, nullptr});
  center_.post({"go", &senderB_, nullptr});
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(journal_, "a:go any:go any:go any:go ");
}

TEST_F(NotificationCenterTest, HandsOverSenderAndUserInfoAsPosted) {
  const DictionaryRef userInfo = Dictionary::make();
  Notification received;
  static_cast<void>(
      center_.addObserver("go", nullptr, [&](const Notification& each) { received = each; }));
  center_.post({"go", &senderA_, userInfo});
  EXPECT_EQ(received.name, "go");
  EXPECT_EQ(received.sender, &senderA_);
  EXPECT_EQ(received.userInfo, userInfo);
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(received.sender, nullptr);
  EXPECT_EQ(received.userInfo, nullptr);
}

TEST_F(NotificationCenterTest, DeliversOnTheThreadThatPosts) {
  std::thread::id deliveredOn;
  static_cast<void>(center_.addObserver(
      "go", nullptr, [&](const Notification&) { deliveredOn = std::this_thread::get_id(); }));
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(deliveredOn, std::this_thread::get_id());
  std::thread::id posted;
  std::thread poster([&] {
    posted = std::this_thread::get_id();
    center_.post({"go", nullptr, nullptr});
  });
  poster.join();
  EXPECT_EQ(deliveredOn, posted);
}

TEST_F(NotificationCenterTest, TokensAreDifferentAndNeverZero) {
  const Token first = center_.addObserver("go", nullptr, writing("a"));
  const Token second = center_.addObserver("go", nullptr, writing("b"));
  center_.removeObserver(second);
  const Token third = center_.addObserver("go", nullptr, writing("c"));
  EXPECT_NE(first, 0U);
  EXPECT_NE(second, 0U);
  EXPECT_NE(third, 0U);
  EXPECT_NE(first, second);
  EXPECT_NE(first, third);
  EXPECT_NE(second, third);
}

TEST_F(NotificationCenterTest, ARemovedObserverGetsNoMore) {
  const Token token = center_.addObserver("go", nullptr, writing("a"));
  static_cast<void>(center_.addObserver("go", nullptr, writing("b")));
  center_.removeObserver(token);
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(journal_, "b:go ");
}

TEST_F(NotificationCenterTest, RemovingAnUnknownTokenChangesNothing) {
  const Token token = center_.addObserver("go", nullptr, writing("a"));
  const Token removed = center_.addObserver("go", nullptr, writing("b"));
  center_.removeObserver(removed);
  center_.removeObserver(removed);
  center_.removeObserver(0);
  center_.removeObserver(token + 1000);
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(journal_, "a:go ");
}

TEST_F(NotificationCenterTest, OneFunctionRegisteredTwiceGetsEachTwice) {
  const auto observer = writing("a");
  const Token first = center_.addObserver("go", nullptr, observer);
  static_cast<void>(center_.addObserver("go", nullptr, observer));
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(journal_, "a:go a:go ");
  center_.removeObserver(first);
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(journal_, "a:go a:go a:go ");
}

TEST_F(NotificationCenterTest, AnObserverMayRemoveItselfWhileItIsCalled) {
  Token token = 0;
  token = center_.addObserver("go", nullptr, [&](const Notification&) {
    journal_ += "once ";
    center_.removeObserver(token);
  });
  static_cast<void>(center_.addObserver("go", nullptr, writing("after")));
  center_.post({"go", nullptr, nullptr});
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(journal_, "once after:go after:go ");
}

// Only a delivery on another thread may still reach an observer after its removal.
TEST_F(NotificationCenterTest, AnObserverRemovedByAnEarlierOneOfTheSameDeliveryIsNotReached) {
  Token second = 0;
  static_cast<void>(center_.addObserver("go", nullptr, [&](const Notification&) {
    journal_ += "first ";
    center_.removeObserver(second);
  }));
  second = center_.addObserver("go", nullptr, writing("second"));
  static_cast<void>(center_.addObserver("go", nullptr, writing("third")));
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(journal_, "first third:go ");
}

TEST_F(NotificationCenterTest, AnObserverRegisteredDuringADeliveryGetsTheNextOne) {
  bool added = false;
  static_cast<void>(center_.addObserver("go", nullptr, [&](const Notification&) {
    if (!added) {
      added = true;
      static_cast<void>(center_.addObserver("go", nullptr, writing("new")));
    }
  }));
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(journal_, "");
  center_.post({"go", nullptr, nullptr});
  EXPECT_EQ(journal_, "new:go ");
}

TEST_F(NotificationCenterTest, APostInsideAnObserverIsDeliveredBeforeTheOuterOneGoesOn) {
  static_cast<void>(center_.addObserver("outer", nullptr, [&](const Notification&) {
    journal_ += "before ";
    center_.post({"inner", nullptr, nullptr});
    journal_ += "after ";
  }));
  static_cast<void>(center_.addObserver("outer", nullptr, writing("last")));
  static_cast<void>(center_.addObserver("inner", nullptr, writing("nested")));
  center_.post({"outer", nullptr, nullptr});
  EXPECT_EQ(journal_, "before nested:inner after last:outer ");
}

TEST_F(NotificationCenterTest, LetsGoOfWhatARemovedObserverHeld) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = held;
  const Token token =
      center_.addObserver("go", nullptr, [held = std::move(held)](const Notification&) {});
  EXPECT_FALSE(watch.expired());
  center_.removeObserver(token);
  EXPECT_TRUE(watch.expired());
}

/// Ends a registration when the last observer that holds it goes.
class Ending {
 public:
  Ending(NotificationCenter& center, Token token) : center_(center), token_(token) {}
  ~Ending() { center_.removeObserver(token_); }
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;

 private:
  NotificationCenter& center_;
  Token token_;
};

/// Leaves the process with 0 when both observers are gone, by the alarm when a lock is in the way.
void removeAnObserverThatEndsAnother() {
  alarm(2);
  NotificationCenter center;
  int received = 0;
  const auto counting = [&](const Notification&) { ++received; };
  auto ending = std::make_shared<Ending>(center, center.addObserver("go", nullptr, counting));
  const Token holder = center.addObserver(
      "go", nullptr,
      [ending = std::move(ending), counting](const Notification& n) { counting(n); });
  center.removeObserver(holder);
  center.post({"go", nullptr, nullptr});
  std::_Exit(received);
}

TEST(NotificationCenterDeathTest, WhatARemovedObserverHeldMayRemoveAnotherOne) {
  EXPECT_EXIT(removeAnObserverThatEndsAnother(), testing::ExitedWithCode(0), "");
}

TEST_F(NotificationCenterTest, ThreadsMayRegisterPostAndRemoveAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 200;
  std::atomic<int> deliveredToOwn{0};
  std::atomic<int> deliveredToAll{0};
  static_cast<void>(
      center_.addObserver("go", nullptr, [&](const Notification&) { ++deliveredToAll; }));
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      int self = 0;
      for (int round = 0; round < kRounds; ++round) {
        const Token token =
            center_.addObserver("go", &self, [&](const Notification&) { ++deliveredToOwn; });
        center_.post({"go", &self, nullptr});
        center_.removeObserver(token);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(deliveredToOwn, kThreads * kRounds);
  EXPECT_EQ(deliveredToAll, kThreads * kRounds);
}

TEST(NotificationCenter, TheDefaultCenterIsOneForTheProcess) {
  NotificationCenter& center = NotificationCenter::defaultCenter();
  EXPECT_EQ(&center, &NotificationCenter::defaultCenter());
  int received = 0;
  const Token token =
      center.addObserver("only in this test", nullptr, [&](const Notification&) { ++received; });
  NotificationCenter::defaultCenter().post({"only in this test", nullptr, nullptr});
  center.removeObserver(token);
  EXPECT_EQ(received, 1);
}

}  // namespace
}  // namespace halvarin::test
