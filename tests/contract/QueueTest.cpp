#include "platform/Queue.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/contract/ChosenClock.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;
using platform::Group;
using platform::Queue;
using platform::Semaphore;

std::string nameOfThisThread() {
  std::array<char, 16> name{};
  EXPECT_EQ(pthread_getname_np(pthread_self(), name.data(), name.size()), 0);
  return name.data();
}

std::string threadNameOf(const Queue& queue) {
  std::string name;
  queue.sync([&] { name = nameOfThisThread(); });
  return name;
}

/// How many do something at once, and the most there have been.
class Crowd {
 public:
  void enter() {
    const int present = ++present_;
    int most = most_;
    while (present > most && !most_.compare_exchange_weak(most, present)) {
    }
  }
  void leave() { --present_; }
  [[nodiscard]] int most() const { return most_; }

 private:
  std::atomic<int> present_{0};
  std::atomic<int> most_{0};
};

std::vector<int> countTo(int end) {
  std::vector<int> numbers(static_cast<std::size_t>(end));
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

TEST(Queue, SerialQueueRunsItemsOneAfterAnotherInOrder) {
  const Queue queue("serial", Queue::Kind::serial);
  std::vector<int> done;  // without a lock: the queue alone keeps the items apart
  Crowd crowd;
  for (int i = 0; i < 10000; ++i) {
    queue.async([&, i] {
      crowd.enter();
      done.push_back(i);
      crowd.leave();
    });
  }
  queue.sync([] {});
  EXPECT_EQ(done, countTo(10000));
  EXPECT_EQ(crowd.most(), 1);
}

TEST(Queue, SerialQueueKeepsTheOrderOfEachSender) {
  const Queue queue("serial", Queue::Kind::serial);
  std::array<std::vector<int>, 8> done;
  std::vector<std::thread> senders;
  for (std::vector<int>& own : done) {
    senders.emplace_back([&queue, &own] {
      for (int i = 0; i < 1000; ++i) {
        queue.async([&own, i] { own.push_back(i); });
      }
    });
  }
  for (std::thread& sender : senders) {
    sender.join();
  }
  queue.sync([] {});
  for (const std::vector<int>& own : done) {
    EXPECT_EQ(own, countTo(1000));
  }
}

TEST(Queue, AsyncComesBackWhileTheWorkGoesOn) {
  for (const Queue::Kind kind : {Queue::Kind::serial, Queue::Kind::concurrent}) {
    const Queue queue("back", kind);
    const Semaphore cameBack;
    const Semaphore done;
    queue.async([=] {
      cameBack.wait();
      done.signal();
    });
    cameBack.signal();
    done.wait();
  }
}

TEST(Queue, ConcurrentQueueRunsItemsThatWaitForEachOther) {
  const Queue queue("concurrent", Queue::Kind::concurrent);
  const Group group;
  const Semaphore first;
  const Semaphore second;
  queue.async(group, [&] {
    first.signal();
    second.wait();
  });
  queue.async(group, [&] {
    second.signal();
    first.wait();
  });
  group.wait();
}

TEST(Queue, ConcurrentQueueRuns64ItemsAtOnceAndNoMore) {
  const Queue queue("concurrent", Queue::Kind::concurrent);
  const Group group;
  const Semaphore begun;
  const Semaphore mayEnd;
  Crowd crowd;
  for (int i = 0; i < 200; ++i) {
    queue.async(group, [&] {
      crowd.enter();
      begun.signal();
      mayEnd.wait();
      crowd.leave();
    });
  }
  for (int i = 0; i < 64; ++i) {
    begun.wait();  // all of these at once: none may end yet
  }
  for (int i = 0; i < 200; ++i) {
    mayEnd.signal();
  }
  group.wait();
  EXPECT_EQ(crowd.most(), 64);
}

TEST(Queue, ConcurrentQueueRunsEachOfTenThousandItemsOnce) {
  const Queue queue("concurrent", Queue::Kind::concurrent);
  const Group group;
  std::vector<std::atomic<int>> runs(10000);
  for (std::atomic<int>& own : runs) {
    queue.async(group, [&own] { ++own; });
  }
  group.wait();
  EXPECT_EQ(std::count(runs.begin(), runs.end(), 1), 10000);
}

TEST(Queue, TwoSerialQueuesDoNotWaitForEachOther) {
  const Queue first("first", Queue::Kind::serial);
  const Queue second("second", Queue::Kind::serial);
  const Semaphore answer;
  const Semaphore done;
  first.async([=] {
    answer.wait();
    done.signal();
  });
  second.async([=] { answer.signal(); });
  done.wait();
}

TEST(Queue, LabelNamesItsThreads) {
  EXPECT_EQ(threadNameOf(Queue("smc reader", Queue::Kind::serial)), "smc reader");
  EXPECT_EQ(threadNameOf(Queue("fans", Queue::Kind::concurrent)), "fans");
  EXPECT_EQ(threadNameOf(Queue("0123456789abcdef", Queue::Kind::serial)), "0123456789abcde");
}

TEST(Queue, TellsItsWholeLabel) {
  EXPECT_EQ(Queue("com.example.sensors.update", Queue::Kind::serial).label(),
            "com.example.sensors.update");
}

TEST(Queue, SyncComesBackAfterItsWorkAndWhatCameBefore) {
  const Queue queue("serial", Queue::Kind::serial);
  std::vector<int> done;
  queue.async([&] { done.push_back(1); });
  queue.sync([&] { done.push_back(2); });
  EXPECT_EQ(done, (std::vector<int>{1, 2}));
}

TEST(Queue, SyncOfAConcurrentQueueComesBackAfterItsWork) {
  const Queue queue("concurrent", Queue::Kind::concurrent);
  const Semaphore mayEnd;
  const Semaphore ended;
  queue.async([=] {
    mayEnd.wait();
    ended.signal();
  });
  bool done = false;
  queue.sync([&] { done = true; });
  EXPECT_TRUE(done);
  mayEnd.signal();
  ended.wait();
}

TEST(Queue, SyncMayBeCalledByWorkOfAnotherQueue) {
  const Queue outer("outer", Queue::Kind::serial);
  const Queue inner("inner", Queue::Kind::serial);
  std::vector<int> done;
  outer.sync([&] {
    inner.sync([&] { done.push_back(1); });
    done.push_back(2);
  });
  EXPECT_EQ(done, (std::vector<int>{1, 2}));
}

TEST(Queue, WorkMayAddWorkToItsOwnQueue) {
  for (const Queue::Kind kind : {Queue::Kind::serial, Queue::Kind::concurrent}) {
    const Queue queue("own", kind);
    const Semaphore done;
    queue.async([&] { queue.async([&] { queue.async([&] { done.signal(); }); }); });
    done.wait();
  }
}

TEST(Queue, AGroupIsLeftWhenAllOfItsWorkIsDone) {
  const Queue serial("serial", Queue::Kind::serial);
  const Queue concurrent("concurrent", Queue::Kind::concurrent);
  const Group group;
  std::atomic<int> done{0};
  for (int i = 0; i < 100; ++i) {
    serial.async(group, [&] { ++done; });
    concurrent.async(group, [&] { ++done; });
  }
  group.wait();
  EXPECT_EQ(done, 200);
}

TEST(Queue, AGroupIsEnteredBeforeAsyncComesBack) {
  const Queue queue("serial", Queue::Kind::serial);
  const Semaphore mayEnd;
  const Group group;
  queue.async(group, [=] { mayEnd.wait(); });
  EXPECT_FALSE(group.wait(0ns));
  {
    const ChosenClock clock(1e6);
    EXPECT_FALSE(group.wait(10s));
  }
  mayEnd.signal();
  EXPECT_TRUE(group.wait(1h));
}

TEST(Queue, AGroupIsLeftWhenWhatTheWorkHeldIsGone) {
  const Queue queue("serial", Queue::Kind::serial);
  for (int round = 0; round < 200; ++round) {
    const Group group;
    auto held = std::make_shared<int>(round);
    const std::weak_ptr<int> watched = held;
    queue.async(group, [held = std::move(held)] {});
    group.wait();
    ASSERT_TRUE(watched.expired());
  }
}

}  // namespace
}  // namespace halvarin::test
