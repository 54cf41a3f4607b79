#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>
#include <vector>

#include "platform/Queue.h"
#include "tests/contract/ChosenClock.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::Clock;
using platform::Group;
using platform::Semaphore;
using Steady = std::chrono::steady_clock;

TEST(Group, AnEmptyOneIsNotWaitedFor) {
  const Group group;
  group.wait();
  EXPECT_TRUE(group.wait(0ns));
  EXPECT_TRUE(group.wait(-1h));
}

TEST(Group, IsWaitedForUntilTheLastHasLeft) {
  const Group group;
  std::vector<std::thread> threads;
  std::atomic<int> left{0};
  for (int i = 0; i < 8; ++i) {
    group.enter();
    threads.emplace_back([&] {
      ++left;
      group.leave();
    });
  }
  group.wait();
  EXPECT_EQ(left, 8);
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(Group, IsNotEmptyBeforeEachEnterHasItsLeave) {
  const Group group;
  group.enter();
  group.enter();
  EXPECT_FALSE(group.wait(0ns));
  group.leave();
  EXPECT_FALSE(group.wait(0ns));
  group.leave();
  EXPECT_TRUE(group.wait(0ns));
}

TEST(Group, ATimedWaitEndsWithTheLastLeave) {
  for (const Clock::Duration time : {Clock::Duration(1h), Clock::Duration::max()}) {
    const Group group;
    group.enter();
    std::thread other([&] { group.leave(); });
    EXPECT_TRUE(group.wait(time));
    other.join();
  }
}

TEST(Group, TimesOutByTheCurrentClock) {
  const Group group;
  group.enter();
  for (const double factor : {2e4, 2e5}) {
    SCOPED_TRACE(factor);
    const ChosenClock clock(factor);
    const auto before = Steady::now();
    EXPECT_FALSE(group.wait(10min));
    EXPECT_GE(clock.age(), 10min - roundingAt(factor));
    EXPECT_LT(Steady::now() - before, 10min);
  }
  group.leave();
  EXPECT_TRUE(group.wait(0ns));
}

TEST(Group, TimesOutAtOnceWhereTheTimeStandsStill) {
  const ChosenClock clock(0);
  const Group group;
  group.enter();
  const auto before = Steady::now();
  EXPECT_FALSE(group.wait(24h));
  EXPECT_LT(Steady::now() - before, 1h);
}

TEST(Group, MayBeUsedAgainAndAgain) {
  const Group group;
  for (int round = 0; round < 100; ++round) {
    bool done = false;
    group.enter();
    std::thread other([&] {
      done = true;
      group.leave();
    });
    group.wait();
    EXPECT_TRUE(done);
    other.join();
  }
}

TEST(Group, AllWhoWaitComeBack) {
  const Group group;
  group.enter();
  const Semaphore begun;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      begun.signal();
      if (i % 2 == 0) {
        group.wait();
      } else {
        EXPECT_TRUE(group.wait(1h));
      }
    });
  }
  for (int i = 0; i < 4; ++i) {
    begun.wait();
  }
  group.leave();
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_TRUE(group.wait(0ns));
}

TEST(Group, AWaitEndsThoughTheGroupIsEnteredAgainAsSoonAsItIsEmpty) {
  const Group group;
  group.enter();
  std::atomic<int> waiting{2};
  std::thread patient([&] {
    group.wait();
    --waiting;
  });
  std::thread timed([&] {
    EXPECT_TRUE(group.wait(Clock::Duration::max()));
    --waiting;
  });
  while (waiting > 0) {
    group.leave();
    group.enter();
    std::this_thread::yield();
  }
  patient.join();
  timed.join();
  EXPECT_FALSE(group.wait(0ns));
  group.leave();
}

TEST(Group, CopiesStandForTheSameGroup) {
  const Group first;
  const Group second = first;
  first.enter();
  EXPECT_FALSE(second.wait(0ns));
  second.leave();
  EXPECT_TRUE(first.wait(0ns));
}

TEST(GroupDeathTest, ALeaveTooManyEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const Group group;
  group.enter();
  group.leave();
  EXPECT_EXIT(group.leave(), ::testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
}  // namespace halvarin::test
