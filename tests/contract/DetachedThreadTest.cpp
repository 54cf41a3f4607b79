#include "platform/posix/DetachedThread.h"

#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>
#include <thread>

#include "platform/Queue.h"
#include "tests/contract/ThreadShortage.h"

namespace halvarin::test {
namespace {

using platform::Semaphore;
using platform::startDetachedThread;

TEST(DetachedThread, PerformsTheWorkOnAnotherThread) {
  const Semaphore done;
  std::thread::id worker;
  EXPECT_TRUE(startDetachedThread([&worker, done] {
    worker = std::this_thread::get_id();
    done.signal();
  }));
  done.wait();
  EXPECT_NE(worker, std::this_thread::get_id());
}

TEST(DetachedThread, LeavesTheWorkUndoneWhereTheSystemGivesNoThread) {
  const ThreadShortage shortage;
  bool done = false;
  EXPECT_FALSE(startDetachedThread([&] { done = true; }));
  EXPECT_FALSE(done);
}

TEST(DetachedThread, WorkDoneInItsPlaceIsDoneByTheCaller) {
  std::thread::id worker;
  platform::performAsThread([&] { worker = std::this_thread::get_id(); });
  EXPECT_EQ(worker, std::this_thread::get_id());
}

TEST(DetachedThreadDeathTest, AnExceptionOfWorkDoneInItsPlaceEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto throwing = [] { throw std::runtime_error("out of work"); };
  EXPECT_EXIT(platform::performAsThread(throwing), ::testing::KilledBySignal(SIGABRT),
              "out of work");
}

}  // namespace
}  // namespace halvarin::test
