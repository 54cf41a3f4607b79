#include "platform/BackgroundThread.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <latch>
#include <stdexcept>
#include <thread>

#include "platform/Queue.h"
#include "tests/contract/ThreadShortage.h"

namespace halvarin::test {
namespace {

using platform::Group;
using platform::performInBackground;
using platform::Semaphore;

TEST(BackgroundThread, EachWorkHasAThreadOfItsOwn) {
  constexpr int kThreads = 100;
  std::latch allThere(kThreads);
  const Group group;
  for (int i = 0; i < kThreads; ++i) {
    group.enter();
    performInBackground([&, group] {
      allThere.arrive_and_wait();
      group.leave();
    });
  }
  group.wait();
  EXPECT_TRUE(allThere.try_wait());
}

TEST(BackgroundThread, ComesBackWhileTheWorkGoesOn) {
  const Semaphore cameBack;
  const Semaphore done;
  std::thread::id worker;
  performInBackground([&, done] {
    cameBack.wait();
    worker = std::this_thread::get_id();
    done.signal();
  });
  cameBack.signal();
  done.wait();
  EXPECT_NE(worker, std::this_thread::get_id());
}

TEST(BackgroundThread, WithoutAThreadTheCallerDoesTheWork) {
  const ThreadShortage shortage;
  std::thread::id worker;
  performInBackground([&] { worker = std::this_thread::get_id(); });
  EXPECT_EQ(worker, std::this_thread::get_id());
}

class BackgroundThreadDeathTest : public ::testing::Test {
 protected:
  BackgroundThreadDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

void throwOutOfWork() {
  throw std::runtime_error("out of work");
}

TEST_F(BackgroundThreadDeathTest, AnExceptionThatLeavesWorkEndsTheProcess) {
  const auto runs = [] {
    performInBackground(throwOutOfWork);
    Semaphore().wait();
  };
  EXPECT_EXIT(runs(), ::testing::KilledBySignal(SIGABRT), "out of work");
}

TEST_F(BackgroundThreadDeathTest, AnExceptionEndsTheProcessAlsoWhereTheCallerDoesTheWork) {
  const auto runs = [] {
    const ThreadShortage shortage;
    try {
      performInBackground(throwOutOfWork);
    } catch (const std::runtime_error&) {
      std::exit(0);
    }
  };
  EXPECT_EXIT(runs(), ::testing::KilledBySignal(SIGABRT), "out of work");
}

TEST_F(BackgroundThreadDeathTest, TheProcessMayEndWhileWorkGoesOn) {
  const auto ends = [] {
    static const auto& begun = *new Semaphore;  // never destroyed, as what outlives main must be
    performInBackground([] {
      begun.signal();
      Semaphore().wait();
    });
    begun.wait();
    std::exit(7);
  };
  EXPECT_EXIT(ends(), ::testing::ExitedWithCode(7), "^$");
}

}  // namespace
}  // namespace halvarin::test
