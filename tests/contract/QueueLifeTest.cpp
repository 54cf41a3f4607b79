// How a queue's threads come and go, and what becomes of its work then.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Queue.h"
#include "tests/contract/ThreadShortage.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::Group;
using platform::Queue;
using platform::Semaphore;
using Steady = std::chrono::steady_clock;

// What a queue's thread waits for more work, as posix/Queue.cpp has it.
constexpr auto kIdleTime = 100ms;

/// Signals when the thread that it belongs to ends.
struct ThreadEnd {
  ~ThreadEnd() {
    if (signal) {
      signal->signal();
    }
  }
  std::optional<Semaphore> signal;
};
thread_local ThreadEnd threadEnd;

Queue queueOf(Queue::Kind kind) {
  return {"queue", kind};
}

constexpr auto kKinds = {Queue::Kind::serial, Queue::Kind::concurrent};

TEST(QueueLife, AReleasedQueueStillRunsItsItems) {
  for (const Queue::Kind kind : kKinds) {
    const Semaphore mayBegin;
    const Group group;
    std::atomic<int> done{0};
    {
      const Queue queue = queueOf(kind);
      queue.async(group, [=] { mayBegin.wait(); });
      for (int i = 0; i < 100; ++i) {
        queue.async(group, [&] { ++done; });
      }
    }
    mayBegin.signal();
    group.wait();
    EXPECT_EQ(done, 100);
  }
}

TEST(QueueLife, WorkMayHoldTheLastHandleOfItsQueue) {
  for (const Queue::Kind kind : kKinds) {
    const Semaphore mayBegin;
    const Semaphore done;
    {
      const Queue queue = queueOf(kind);
      queue.async([=] { mayBegin.wait(); });
      queue.async([=] { queue.async([=] { done.signal(); }); });
    }
    mayBegin.signal();
    done.wait();
  }
}

TEST(QueueLife, CopiesStandForTheSameQueue) {
  const Queue first = queueOf(Queue::Kind::serial);
  auto second = std::make_unique<Queue>(first);
  std::vector<int> done;
  second->async([&] { done.push_back(1); });
  first.async([&] { done.push_back(2); });
  second.reset();
  first.sync([&] { done.push_back(3); });
  EXPECT_EQ(done, (std::vector<int>{1, 2, 3}));
}

TEST(QueueLife, AnIdleThreadEndsAndWorkThatComesLaterGetsAnother) {
  const Queue queue = queueOf(Queue::Kind::serial);
  for (int round = 0; round < 2; ++round) {
    const Semaphore ended;
    queue.sync([&] { threadEnd.signal = ended; });
    const auto idle = Steady::now();
    ended.wait();
    EXPECT_GE(Steady::now() - idle, kIdleTime / 2);
  }
}

TEST(QueueLife, TheThreadsEndAtOnceWhenTheLastHandleIsGone) {
  auto shortest = Steady::duration::max();
  for (int round = 0; round < 20; ++round) {
    const Semaphore ended;
    auto queue = std::make_unique<Queue>(queueOf(Queue::Kind::concurrent));
    queue->sync([&] { threadEnd.signal = ended; });
    const auto released = Steady::now();
    queue.reset();
    ended.wait();
    shortest = std::min(shortest, Steady::now() - released);
  }
  EXPECT_LT(shortest, kIdleTime / 2);  // an idle thread would never take less than that
}

TEST(QueueLife, ManyQueuesMayComeAndGo) {
  const Group group;
  std::atomic<int> done{0};
  for (int i = 0; i < 500; ++i) {
    queueOf(i % 2 == 0 ? Queue::Kind::serial : Queue::Kind::concurrent).async(group, [&] {
      ++done;
    });
  }
  group.wait();
  EXPECT_EQ(done, 500);
}

TEST(QueueLife, WorkThatIsWaitedForMayDropTheLastHandle) {
  for (const Queue::Kind kind : {Queue::Kind::serial, Queue::Kind::concurrent}) {
    auto queue = std::make_unique<Queue>("dropped", kind);
    bool done = false;
    queue->sync([&] {
      queue.reset();
      done = true;
    });
    EXPECT_TRUE(done);
  }
}

TEST(QueueLife, WithoutAnyThreadTheCallerDoesTheWorkInOrder) {
  for (const Queue::Kind kind : kKinds) {
    const ThreadShortage shortage;
    const Queue queue = queueOf(kind);
    std::vector<int> done;
    const auto caller = std::this_thread::get_id();
    queue.async([&] {
      EXPECT_EQ(std::this_thread::get_id(), caller);
      queue.async([&] { done.push_back(2); });
      done.push_back(1);
    });
    EXPECT_EQ(done, (std::vector<int>{1, 2}));
    queue.sync([&] { done.push_back(3); });
    EXPECT_EQ(done, (std::vector<int>{1, 2, 3}));
  }
}

TEST(QueueLife, WithoutANewThreadTheWorkIsLeftToTheOnesThereAre) {
  const Queue queue = queueOf(Queue::Kind::concurrent);
  const Semaphore begun;
  const Semaphore mayEnd;
  std::thread::id existing;
  queue.async([&] {
    existing = std::this_thread::get_id();
    begun.signal();
    mayEnd.wait();
  });
  begun.wait();
  const ThreadShortage shortage;
  const Group group;
  std::vector<std::thread::id> done;  // without a lock: one thread is all there is
  for (int i = 0; i < 10; ++i) {
    queue.async(group, [&] { done.push_back(std::this_thread::get_id()); });
  }
  EXPECT_FALSE(group.wait(0ns));
  mayEnd.signal();
  group.wait();
  EXPECT_EQ(done, std::vector<std::thread::id>(10, existing));
}

TEST(QueueLife, WithoutAnyThreadASerialQueueStaysSerialForManyCallers) {
  const Queue queue = queueOf(Queue::Kind::serial);
  std::vector<std::thread> callers;
  std::optional<ThreadShortage> shortage;
  const Semaphore mayBegin;
  const Group group;
  int done = 0;  // without a lock: the queue alone keeps the items apart
  for (int i = 0; i < 4; ++i) {
    callers.emplace_back([&] {
      mayBegin.wait();
      for (int item = 0; item < 1000; ++item) {
        queue.async(group, [&] { ++done; });
      }
    });
  }
  shortage.emplace();
  for (int i = 0; i < 4; ++i) {
    mayBegin.signal();
  }
  for (std::thread& caller : callers) {
    caller.join();
  }
  group.wait();
  EXPECT_EQ(done, 4000);
}

TEST(QueueLife, ThreadsAreMadeAgainAfterAShortage) {
  const Queue queue = queueOf(Queue::Kind::serial);
  {
    const ThreadShortage shortage;
    queue.async([] {});
  }
  const Semaphore cameBack;
  const Semaphore done;
  queue.async([=] {
    cameBack.wait();
    done.signal();
  });
  cameBack.signal();
  done.wait();
}

class QueueDeathTest : public ::testing::Test {
 protected:
  QueueDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(QueueDeathTest, AnExceptionThatLeavesWorkEndsTheProcess) {
  const Queue queue = queueOf(Queue::Kind::serial);
  const auto throwing = [] { throw std::runtime_error("out of work"); };
  EXPECT_EXIT(queue.sync(throwing), ::testing::KilledBySignal(SIGABRT), "out of work");
}

TEST_F(QueueDeathTest, AnExceptionEndsTheProcessAlsoWhereTheCallerDoesTheWork) {
  const auto runs = [] {
    const ThreadShortage shortage;
    try {
      queueOf(Queue::Kind::serial).async([] { throw std::runtime_error("out of work"); });
    } catch (const std::runtime_error&) {
      std::exit(0);
    }
  };
  EXPECT_EXIT(runs(), ::testing::KilledBySignal(SIGABRT), "out of work");
}

TEST_F(QueueDeathTest, AQueueWithIdleThreadsMayBeDestroyedAtTheEndOfTheProcess) {
  const auto ends = [] {
    static const Queue queue = queueOf(Queue::Kind::serial);
    queue.sync([] {});
    std::exit(7);
  };
  EXPECT_EXIT(ends(), ::testing::ExitedWithCode(7), "^$");
}

TEST_F(QueueDeathTest, TheProcessMayEndWhileThreadsAreIdleOrBusy) {
  const auto ends = [] {
    // Never destroyed, as what outlives main must be.
    static const auto& idle = *new Queue(queueOf(Queue::Kind::serial));
    static const auto& busy = *new Queue(queueOf(Queue::Kind::concurrent));
    static std::atomic<std::uint64_t> turns{0};
    idle.sync([] {});
    for (int i = 0; i < 2; ++i) {
      busy.async([] {
        for (;;) {
          idle.async([] { ++turns; });
          std::this_thread::yield();
        }
      });
    }
    busy.async([] { Semaphore().wait(); });
    while (turns < 100) {
      std::this_thread::yield();
    }
    std::exit(7);
  };
  EXPECT_EXIT(ends(), ::testing::ExitedWithCode(7), "^$");
}

}  // namespace
}  // namespace halvarin::test
