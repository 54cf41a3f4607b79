#include "base/Mutex.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;

TEST(Mutex, KeepsThreadsApart) {
  Mutex mutex;
  int count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 1000; ++round) {
        const MutexLock lock(mutex);
        ++count;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(count, 4000);
}

TEST(Condition, AWaitGivesTheMutexBackAndEndsWithTheNotification) {
  Mutex mutex;
  Condition changed;
  bool asked = false;
  bool answered = false;
  std::thread other([&] {
    const MutexLock lock(mutex);
    while (!asked) {
      changed.wait(mutex);
    }
    answered = true;
    changed.notifyOne();
  });
  {
    const MutexLock lock(mutex);
    asked = true;
    changed.notifyAll();
    while (!answered) {
      changed.wait(mutex);
    }
  }
  other.join();
  EXPECT_TRUE(answered);
}

TEST(Condition, AWaitUntilAMomentEndsWithTheNotificationBeforeIt) {
  Mutex mutex;
  Condition changed;
  bool answered = false;
  const MutexLock lock(mutex);
  std::thread other([&] {
    const MutexLock otherLock(mutex);
    answered = true;
    changed.notifyOne();
  });
  while (!answered) {
    EXPECT_TRUE(changed.waitUntil(mutex, Steady::now() + 1h));
  }
  other.join();
}

TEST(Condition, AWaitUntilAMomentEndsWhenItHasCome) {
  Mutex mutex;
  Condition changed;
  const MutexLock lock(mutex);
  EXPECT_FALSE(changed.waitUntil(mutex, Steady::now() - 1s));
  const auto moment = Steady::now() + 1ms;
  while (changed.waitUntil(mutex, moment)) {
  }
  EXPECT_GE(Steady::now(), moment);
}

}  // namespace
}  // namespace halvarin::test
