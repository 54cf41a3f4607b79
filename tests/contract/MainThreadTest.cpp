#include "platform/MainThread.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Queue.h"

namespace halvarin::test {
namespace {

using platform::MainThread;
using platform::Semaphore;

/// Every test begins and ends with nothing that waits.
class MainThreadTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(MainThread::performPending(), 0U); }

  void note(const std::string& what) { journal_ += journal_.empty() ? what : " " + what; }
  void performNote(const std::string& what) {
    MainThread::perform([this, what] { note(what); });
  }
  static void performStop() {
    MainThread::perform([] { MainThread::stop(); });
  }

  std::string journal_;
};

bool readable(int timeoutMs = 0) {
  pollfd asked{MainThread::descriptor(), POLLIN, 0};
  EXPECT_GE(asked.fd, 0);
  const int found = ::poll(&asked, 1, timeoutMs);
  EXPECT_GE(found, 0);
  return found == 1 && (asked.revents & POLLIN) != 0;
}

TEST_F(MainThreadTest, RunPerformsWhatArrivedBeforeInTheOrderOfArrival) {
  performNote("1");
  std::thread([&] { performNote("2"); }).join();
  performNote("3");
  performStop();
  MainThread::run();
  EXPECT_EQ(journal_, "1 2 3");
}

TEST_F(MainThreadTest, RunPerformsWhatArrivesWhileItWaits) {
  const auto self = std::this_thread::get_id();
  std::thread other;
  MainThread::perform([&] {
    other = std::thread([&] {
      const Semaphore performed;
      for (int i = 0; i < 100; ++i) {
        MainThread::perform([&] {
          EXPECT_EQ(std::this_thread::get_id(), self);
          performed.signal();
        });
        performed.wait();  // so that the run has nothing to do before the next one
      }
      MainThread::stop();
    });
  });
  MainThread::run();
  other.join();
}

TEST_F(MainThreadTest, NothingIsPerformedWithoutARun) {
  performNote("1");
  std::thread([&] { performNote("2"); }).join();
  EXPECT_EQ(journal_, "");
  EXPECT_EQ(MainThread::performPending(), 2U);
}

TEST_F(MainThreadTest, PerformNeverPerformsTheWorkItself) {
  MainThread::perform([&] {
    note("(");
    performNote("2");
    performStop();
    note(")");
  });
  performNote("1");
  EXPECT_EQ(journal_, "");
  MainThread::run();
  EXPECT_EQ(journal_, "( ) 1 2");
}

TEST_F(MainThreadTest, EightThreadsWorkArrivesCompleteAndInEachOnesOrder) {
  constexpr int kItems = 1000;
  std::array<std::vector<int>, 8> arrived;  // without a lock: the run's thread alone touches them
  std::vector<std::thread> threads;
  std::size_t left = arrived.size() * kItems;
  for (std::vector<int>& own : arrived) {
    threads.emplace_back([&] {
      for (int i = 0; i < kItems; ++i) {
        MainThread::perform([&own, &left, i] {
          own.push_back(i);
          if (--left == 0) {
            MainThread::stop();
          }
        });
      }
    });
  }
  MainThread::run();
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const std::vector<int>& own : arrived) {
    ASSERT_EQ(own.size(), static_cast<std::size_t>(kItems));
    for (int i = 0; i < kItems; ++i) {
      ASSERT_EQ(own[static_cast<std::size_t>(i)], i);
    }
  }
}

TEST_F(MainThreadTest, StopEndsARunThatHasNothingToDo) {
  for (int round = 0; round < 200; ++round) {
    std::thread other([] { MainThread::stop(); });
    MainThread::run();  // which of the two comes first is open: it ends in either case
    other.join();
  }
}

TEST_F(MainThreadTest, StopEndsTheRunAfterThePresentItemAndKeepsWhatWaits) {
  MainThread::perform([&] {
    MainThread::stop();
    note("stopped");
  });
  performNote("later");
  MainThread::run();
  EXPECT_EQ(journal_, "stopped");
  performStop();
  MainThread::run();
  EXPECT_EQ(journal_, "stopped later");
}

TEST_F(MainThreadTest, AStopBeforeARunEndsItAtOnce) {
  MainThread::stop();
  performNote("1");
  MainThread::run();
  EXPECT_EQ(journal_, "");
  performStop();
  MainThread::run();
  EXPECT_EQ(journal_, "1");
}

TEST_F(MainThreadTest, SeveralStopsBeforeARunEndOneRun) {
  MainThread::stop();
  MainThread::stop();
  MainThread::run();
  performNote("1");
  performStop();
  MainThread::run();
  EXPECT_EQ(journal_, "1");
}

TEST_F(MainThreadTest, SeveralStopsDuringARunEndThatRunOnly) {
  MainThread::perform([] {
    MainThread::stop();
    MainThread::stop();
  });
  MainThread::run();
  performNote("1");
  performStop();
  MainThread::run();
  EXPECT_EQ(journal_, "1");
}

TEST_F(MainThreadTest, StopEndsTheInnermostRun) {
  MainThread::perform([&] {
    note("(");
    MainThread::run();
    note(")");
  });
  performNote("inner");
  performStop();
  performNote("outer");
  performStop();
  MainThread::run();
  EXPECT_EQ(journal_, "( inner ) outer");
}

TEST_F(MainThreadTest, AnInnerRunDoesNotTakeTheStopOfTheOuterOne) {
  MainThread::perform([&] {
    MainThread::stop();
    MainThread::run();
    note(")");
  });
  performNote("inner");
  performStop();
  performNote("kept");
  MainThread::run();
  EXPECT_EQ(journal_, "inner )");
  EXPECT_EQ(MainThread::performPending(), 1U);
  EXPECT_EQ(journal_, "inner ) kept");
}

TEST_F(MainThreadTest, AnExceptionLeavesRunAndTheRestIsKept) {
  MainThread::perform([] { throw std::runtime_error("out of work"); });
  performNote("kept");
  performStop();
  EXPECT_THROW(MainThread::run(), std::runtime_error);
  EXPECT_EQ(journal_, "");
  MainThread::run();
  EXPECT_EQ(journal_, "kept");
}

TEST_F(MainThreadTest, AnExceptionOfAnInnerRunMayBeCaughtInTheOuterOne) {
  MainThread::perform([&] {
    EXPECT_THROW(MainThread::run(), std::runtime_error);
    note("caught");
  });
  MainThread::perform([] { throw std::runtime_error("out of work"); });
  performNote("outer");
  performStop();
  MainThread::run();
  EXPECT_EQ(journal_, "caught outer");
}

TEST_F(MainThreadTest, AStopAndAnExceptionOfOneItemEndOneRun) {
  MainThread::perform([] {
    MainThread::stop();
    throw std::runtime_error("out of work");
  });
  EXPECT_THROW(MainThread::run(), std::runtime_error);
  performNote("1");
  performStop();
  MainThread::run();
  EXPECT_EQ(journal_, "1");
}

TEST_F(MainThreadTest, WhatWorkHeldIsGoneBeforeTheNextItem) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = held;
  MainThread::perform([held = std::move(held)] {});
  MainThread::perform([&] { note(watched.expired() ? "gone" : "there"); });
  performStop();
  MainThread::run();
  EXPECT_EQ(journal_, "gone");
}

TEST_F(MainThreadTest, PerformPendingPerformsWhatWaitsAndCountsIt) {
  EXPECT_EQ(MainThread::performPending(), 0U);
  performNote("1");
  performNote("2");
  EXPECT_EQ(MainThread::performPending(), 2U);
  EXPECT_EQ(journal_, "1 2");
  EXPECT_EQ(MainThread::performPending(), 0U);
}

TEST_F(MainThreadTest, PerformPendingLeavesWhatArrivesMeanwhileToTheNextCall) {
  MainThread::perform([&] { performNote("2"); });
  performNote("1");
  EXPECT_EQ(MainThread::performPending(), 2U);
  EXPECT_EQ(journal_, "1");
  EXPECT_EQ(MainThread::performPending(), 1U);
  EXPECT_EQ(journal_, "1 2");
}

TEST_F(MainThreadTest, PerformPendingCountsOnlyItsOwnItems) {
  MainThread::perform([&] { EXPECT_EQ(MainThread::performPending(), 2U); });
  performNote("1");
  performNote("2");
  EXPECT_EQ(MainThread::performPending(), 1U);
  EXPECT_EQ(journal_, "1 2");
}

TEST_F(MainThreadTest, PerformPendingMayBeCalledByWorkOfARun) {
  MainThread::perform([&] {
    note("(");
    EXPECT_EQ(MainThread::performPending(), 2U);
    note(")");
  });
  performNote("1");
  performStop();
  MainThread::run();
  EXPECT_EQ(journal_, "( 1 )");
}

TEST_F(MainThreadTest, AnExceptionLeavesPerformPendingAndTheRestIsKept) {
  MainThread::perform([] { throw std::runtime_error("out of work"); });
  performNote("kept");
  EXPECT_THROW(MainThread::performPending(), std::runtime_error);
  EXPECT_EQ(MainThread::performPending(), 1U);
  EXPECT_EQ(journal_, "kept");
}

TEST_F(MainThreadTest, TheDescriptorIsReadableExactlyWhileWorkWaits) {
  EXPECT_FALSE(readable());
  for (int round = 0; round < 3; ++round) {
    MainThread::perform([] { EXPECT_TRUE(readable()); });
    EXPECT_TRUE(readable());
    MainThread::perform([] { EXPECT_FALSE(readable()); });
    EXPECT_TRUE(readable());
    EXPECT_EQ(MainThread::performPending(), 2U);
    EXPECT_FALSE(readable());
  }
}

TEST_F(MainThreadTest, TheDescriptorFollowsARun) {
  MainThread::perform([] { EXPECT_TRUE(readable()); });
  MainThread::perform([] {
    EXPECT_FALSE(readable());
    MainThread::stop();
    MainThread::perform([] {});
    EXPECT_TRUE(readable());
  });
  MainThread::run();
  EXPECT_TRUE(readable());
  EXPECT_EQ(MainThread::performPending(), 1U);
  EXPECT_FALSE(readable());
}

TEST_F(MainThreadTest, TheDescriptorStaysReadableWhenWorkThrowsAndMoreWaits) {
  MainThread::perform([] { throw std::runtime_error("out of work"); });
  MainThread::perform([] {});
  EXPECT_THROW(MainThread::performPending(), std::runtime_error);
  EXPECT_TRUE(readable());
  EXPECT_EQ(MainThread::performPending(), 1U);
  EXPECT_FALSE(readable());
}

TEST_F(MainThreadTest, WorkOfAnotherThreadWakesAHostThatPolls) {
  std::thread other([&] { performNote("1"); });
  EXPECT_TRUE(readable(-1));
  EXPECT_EQ(MainThread::performPending(), 1U);
  EXPECT_EQ(journal_, "1");
  other.join();
}

TEST_F(MainThreadTest, TheDescriptorStaysTheSameAndIsClosedInStartedPrograms) {
  const int descriptor = MainThread::descriptor();
  EXPECT_EQ(MainThread::descriptor(), descriptor);
  EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
}

class MainThreadDeathTest : public ::testing::Test {
 protected:
  MainThreadDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(MainThreadDeathTest, TheDescriptorMadeWhileWorkWaitsIsReadable) {
  const auto asks = [] {
    MainThread::perform([] {});
    MainThread::perform([] {});
    const bool before = readable();
    MainThread::performPending();
    std::exit(before && !readable() ? 7 : 1);
  };
  EXPECT_EXIT(asks(), ::testing::ExitedWithCode(7), "");
}

TEST_F(MainThreadDeathTest, WithoutADescriptorTheLoopWorksAndTheNextAskTriesAgain) {
  const auto asks = [] {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    rlimit none = limit;
    none.rlim_cur = 3;
    setrlimit(RLIMIT_NOFILE, &none);
    const int withoutRoom = MainThread::descriptor();
    MainThread::perform([] { MainThread::stop(); });
    MainThread::run();
    setrlimit(RLIMIT_NOFILE, &limit);
    MainThread::perform([] {});
    std::exit(withoutRoom == -1 && readable() ? 7 : 1);
  };
  EXPECT_EXIT(asks(), ::testing::ExitedWithCode(7), "");
}

TEST_F(MainThreadDeathTest, TheProcessMayEndWhileThreadsGiveWork) {
  const auto ends = [] {
    static const auto& begun = *new Semaphore;  // never destroyed, as what outlives main must be
    std::thread([] {
      for (;;) {
        MainThread::perform([] {});
        begun.signal();
      }
    }).detach();
    begun.wait();
    MainThread::performPending();
    std::exit(7);
  };
  EXPECT_EXIT(ends(), ::testing::ExitedWithCode(7), "^$");
}

}  // namespace
}  // namespace halvarin::test
