#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <thread>
#include <vector>

#include "platform/Queue.h"
#include "tests/contract/ChosenClock.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::Clock;
using platform::Semaphore;
using Steady = std::chrono::steady_clock;

TEST(Semaphore, GivesItsInitialCountWithoutWaiting) {
  const Semaphore semaphore(3);
  semaphore.wait();
  EXPECT_TRUE(semaphore.wait(0ns));
  EXPECT_TRUE(semaphore.wait(1h));
  EXPECT_FALSE(semaphore.wait(0ns));
}

TEST(Semaphore, BeginsWithNothingToTake) {
  const Semaphore semaphore;
  EXPECT_FALSE(semaphore.wait(0ns));
  EXPECT_FALSE(semaphore.wait(-1h));
}

TEST(Semaphore, ASignalIsTakenOnce) {
  const Semaphore semaphore;
  semaphore.signal();
  EXPECT_TRUE(semaphore.wait(0ns));
  EXPECT_FALSE(semaphore.wait(0ns));
}

TEST(Semaphore, ASignalOfAnotherThreadEndsAWait) {
  const Semaphore asked;
  const Semaphore answered;
  int answer = 0;
  std::thread other([&] {
    asked.wait();
    answer = 42;
    answered.signal();
  });
  asked.signal();
  answered.wait();
  EXPECT_EQ(answer, 42);
  other.join();
}

TEST(Semaphore, ASignalOfAnotherThreadEndsATimedWait) {
  for (const Clock::Duration time : {Clock::Duration(1h), Clock::Duration::max()}) {
    const Semaphore semaphore;
    std::thread other([&] { semaphore.signal(); });
    EXPECT_TRUE(semaphore.wait(time));
    other.join();
  }
}

TEST(Semaphore, CountsTheSignalsAndTakesOfManyThreads) {
  const Semaphore semaphore;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 1000; ++round) {
        semaphore.signal();
      }
    });
    threads.emplace_back([&] {
      for (int round = 0; round < 999; ++round) {
        semaphore.wait();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (int left = 0; left < 4; ++left) {
    EXPECT_TRUE(semaphore.wait(0ns));
  }
  EXPECT_FALSE(semaphore.wait(0ns));
}

TEST(Semaphore, TimesOutByTheCurrentClock) {
  for (const double factor : {2e4, 2e5}) {
    SCOPED_TRACE(factor);
    const ChosenClock clock(factor);
    const auto before = Steady::now();
    EXPECT_FALSE(Semaphore().wait(10min));
    EXPECT_GE(clock.age(), 10min - roundingAt(factor));
    EXPECT_LT(Steady::now() - before, 10min);
  }
}

TEST(Semaphore, TimesOutAtOnceWhereTheTimeStandsStill) {
  const ChosenClock clock(0);
  const auto before = Steady::now();
  EXPECT_FALSE(Semaphore().wait(24h));
  EXPECT_LT(Steady::now() - before, 1h);
}

TEST(Semaphore, AWaitThatTimedOutTakesNothing) {
  const ChosenClock clock(1e6);
  const Semaphore semaphore;
  EXPECT_FALSE(semaphore.wait(1min));
  semaphore.signal();
  EXPECT_TRUE(semaphore.wait(0ns));
}

TEST(Semaphore, CopiesStandForTheSameCount) {
  const Semaphore first(1);
  const Semaphore second = first;
  second.signal();
  first.wait();
  EXPECT_TRUE(second.wait(0ns));
  EXPECT_FALSE(first.wait(0ns));
}

TEST(Semaphore, MayBeDestroyedAsSoonAsItsSignalHasArrived) {
  const Semaphore go;
  std::optional<Semaphore> shortLived;
  std::thread other([&] {
    for (int round = 0; round < 2000; ++round) {
      go.wait();
      shortLived->signal();
    }
  });
  for (int round = 0; round < 2000; ++round) {
    shortLived.emplace();
    go.signal();
    shortLived->wait();
    shortLived.reset();
  }
  other.join();
}

}  // namespace
}  // namespace halvarin::test
