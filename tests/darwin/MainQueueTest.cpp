#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "platform/MainThread.h"
#include "platform/posix/SystemLoop.h"

// What an application's main run loop does with the library's callbacks.

namespace halvarin::test {
namespace {

using platform::MainThread;

void runMainLoop() {
  CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, 0);
}

TEST(MainQueue, CallsTheFunctionOnceFromTheMainLoopAndNotBefore) {
  static int calls = 0;
  platform::callFromSystemLoop([](void* context) { calls += context == nullptr ? 1 : 100; });
  EXPECT_EQ(calls, 0);
  runMainLoop();
  runMainLoop();
  EXPECT_EQ(calls, 1);
}

TEST(MainQueue, PerformsWorkOfTheMainThreadInItsOrder) {
  std::string journal;
  MainThread::perform([&] { journal += "1"; });
  MainThread::perform([&] {
    journal += "2";
    MainThread::perform([&] { journal += "3"; });
  });
  EXPECT_EQ(journal, "");
  runMainLoop();
  EXPECT_EQ(journal, "12");
  runMainLoop();
  EXPECT_EQ(journal, "123");
  MainThread::perform([&] { journal += "4"; });
  runMainLoop();
  EXPECT_EQ(journal, "1234");
}

TEST(MainQueue, WorkThatTheHostPerformedItselfIsNotPerformedAgain) {
  int done = 0;
  MainThread::perform([&] { ++done; });
  EXPECT_EQ(MainThread::performPending(), 1U);
  runMainLoop();
  EXPECT_EQ(done, 1);
}

TEST(MainQueue, WorkThatArrivesAfterTheHostPerformedItselfIsStillPerformed) {
  int done = 0;
  MainThread::perform([&] { ++done; });
  EXPECT_EQ(MainThread::performPending(), 1U);
  MainThread::perform([&] { ++done; });
  runMainLoop();
  EXPECT_EQ(done, 2);
}

TEST(MainQueueDeathTest, AnExceptionThatLeavesWorkEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto runs = [] {
    MainThread::perform([] { throw std::runtime_error("out of work"); });
    try {
      runMainLoop();
    } catch (const std::runtime_error&) {
      std::exit(0);
    }
  };
  EXPECT_EXIT(runs(), ::testing::KilledBySignal(SIGABRT), "out of work");
}

}  // namespace
}  // namespace halvarin::test
