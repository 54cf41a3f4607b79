// Work that a group gives to a queue once it is empty.

#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
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

Queue serialQueue() {
  return {"notified", Queue::Kind::serial};
}

std::string nameOfThisThread() {
  std::array<char, 16> name{};
  EXPECT_EQ(pthread_getname_np(pthread_self(), name.data(), name.size()), 0);
  return name.data();
}

/// Work that lies before this on a serial queue is done when it comes back.
void awaitWorkOf(const Queue& queue) {
  queue.sync([] {});
}

TEST(GroupNotify, AnEmptyGroupGivesTheWorkAtOnce) {
  const Group group;
  const Queue queue = serialQueue();
  bool done = false;
  group.notify(queue, [&] { done = true; });
  awaitWorkOf(queue);
  EXPECT_TRUE(done);
}

TEST(GroupNotify, AGroupThatHasBecomeEmptyGivesTheWorkAtOnce) {
  const Group group;
  const Queue queue = serialQueue();
  bool done = false;
  group.enter();
  group.leave();
  group.notify(queue, [&] { done = true; });
  awaitWorkOf(queue);
  EXPECT_TRUE(done);
}

TEST(GroupNotify, GivesTheWorkWithTheLastLeaveAndNotBefore) {
  const Group group;
  const Queue queue = serialQueue();
  bool done = false;
  group.enter();
  group.notify(queue, [&] { done = true; });
  group.enter();
  group.leave();
  awaitWorkOf(queue);
  EXPECT_FALSE(done);
  group.leave();
  awaitWorkOf(queue);
  EXPECT_TRUE(done);
}

TEST(GroupNotify, TheGroupIsEmptyWhenTheWorkBegins) {
  const Group group;
  const Queue queue = serialQueue();
  bool empty = false;
  group.enter();
  group.notify(queue, [&] { empty = group.wait(0ns); });
  group.leave();
  awaitWorkOf(queue);
  EXPECT_TRUE(empty);
}

TEST(GroupNotify, GivesTheWorkOnceThoughTheGroupIsEmptiedAgain) {
  const Group group;
  const Queue queue = serialQueue();
  int done = 0;
  group.enter();
  group.notify(queue, [&] { ++done; });
  for (int round = 0; round < 3; ++round) {
    group.leave();
    group.enter();
  }
  group.leave();
  awaitWorkOf(queue);
  EXPECT_EQ(done, 1);
}

TEST(GroupNotify, GivesTheWorkThoughTheGroupIsEnteredAgainBeforeItIsPerformed) {
  const Group group;
  const Queue queue = serialQueue();
  const Semaphore mayGoOn;
  bool done = false;
  queue.async([=] { mayGoOn.wait(); });
  group.enter();
  group.notify(queue, [&] { done = true; });
  group.leave();
  group.enter();
  mayGoOn.signal();
  awaitWorkOf(queue);
  EXPECT_TRUE(done);
  group.leave();
}

TEST(GroupNotify, GivesTheWorkOfSeveralCallsInTheirOrder) {
  const Group group;
  const Queue queue = serialQueue();
  std::vector<int> done;
  group.enter();
  for (int i = 0; i < 4; ++i) {
    group.notify(queue, [&, i] { done.push_back(i); });
  }
  group.leave();
  awaitWorkOf(queue);
  EXPECT_EQ(done, (std::vector<int>{0, 1, 2, 3}));
}

TEST(GroupNotify, AThreadOfTheNamedQueueDoesTheWork) {
  const Group group;
  const Queue first("first", Queue::Kind::serial);
  const Queue second("second", Queue::Kind::concurrent);
  std::string firstThread;
  std::string secondThread;
  const Semaphore done;
  group.enter();
  group.notify(first, [&] {
    firstThread = nameOfThisThread();
    done.signal();
  });
  group.notify(second, [&] {
    secondThread = nameOfThisThread();
    done.signal();
  });
  group.leave();
  done.wait();
  done.wait();
  EXPECT_EQ(firstThread, "first");
  EXPECT_EQ(secondThread, "second");
}

TEST(GroupNotify, FollowsTheItemsThatAQueuePerformsForTheGroup) {
  const Group group;
  const Queue queue("notified", Queue::Kind::concurrent);
  std::atomic<int> items{0};
  int seen = 0;
  const Semaphore done;
  for (int i = 0; i < 100; ++i) {
    queue.async(group, [&] { ++items; });
  }
  group.notify(queue, [&] {
    seen = items;
    done.signal();
  });
  done.wait();
  EXPECT_EQ(seen, 100);
}

TEST(GroupNotify, MayBeCalledByWorkOfTheSameQueue) {
  const Group group;
  const Queue queue = serialQueue();
  std::vector<int> done;
  queue.sync([&] {
    group.notify(queue, [&] { done.push_back(2); });
    done.push_back(1);
  });
  awaitWorkOf(queue);
  EXPECT_EQ(done, (std::vector<int>{1, 2}));
}

TEST(GroupNotify, WorkMayUseItsOwnGroupAgain) {
  const Group group;
  const Queue queue = serialQueue();
  const Semaphore done;
  group.enter();
  group.notify(queue, [&] {
    group.enter();
    group.notify(queue, [&] { done.signal(); });
    group.leave();
  });
  group.leave();
  done.wait();
}

TEST(GroupNotify, HandlesMayBeDestroyedWhileSomebodyIsStillToLeave) {
  auto group = std::make_unique<Group>();
  auto queue = std::make_unique<Queue>(serialQueue());
  const Semaphore done;
  group->enter();
  group->notify(*queue, [=] { done.signal(); });
  const Group stillToLeave = *group;
  group.reset();
  queue.reset();
  EXPECT_FALSE(done.wait(0ns));
  stillToLeave.leave();
  done.wait();
}

TEST(GroupNotify, WorkMayDestroyTheHandleThatSetItFree) {
  for (int round = 0; round < 100; ++round) {
    const Queue queue = serialQueue();
    auto group = std::make_unique<Group>();
    Group& handle = *group;
    handle.enter();
    handle.notify(queue, [&] { group.reset(); });
    handle.leave();
    awaitWorkOf(queue);
    EXPECT_FALSE(group);
  }
}

TEST(GroupNotify, WorkIsDestroyedUnperformedWithTheLastHandleOfAGroupThatIsNeverLeft) {
  auto held = std::make_shared<bool>(false);
  const std::weak_ptr<bool> watch = held;
  const Queue queue = serialQueue();
  std::optional<Group> group(std::in_place);
  group->enter();
  group->notify(queue, [held = std::move(held)] { *held = true; });
  EXPECT_FALSE(watch.expired());
  group.reset();
  EXPECT_TRUE(watch.expired());
}

TEST(GroupNotify, WithoutAnyThreadTheLeaveOrTheCallItselfDoesTheWork) {
  const ThreadShortage shortage;
  const Group group;
  const Queue queue = serialQueue();
  std::vector<int> done;
  group.notify(queue, [&] { done.push_back(1); });
  EXPECT_EQ(done, std::vector<int>{1});
  group.enter();
  group.notify(queue, [&] {
    EXPECT_TRUE(group.wait(0ns));
    group.notify(queue, [&] { done.push_back(3); });
    done.push_back(2);
  });
  EXPECT_EQ(done, std::vector<int>{1});
  group.leave();
  EXPECT_EQ(done, (std::vector<int>{1, 2, 3}));
}

TEST(GroupNotify, NoWorkIsLostOrDoubledAmongManyWhoComeAndGo) {
  constexpr int kThreads = 4;
  constexpr int kEach = 500;
  const Group group;
  const Queue queue = serialQueue();
  int done = 0;  // without a lock: the queue alone keeps the items apart
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kEach; ++round) {
        group.enter();
        group.notify(queue, [&] { ++done; });
        group.leave();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  awaitWorkOf(queue);
  EXPECT_EQ(done, kThreads * kEach);
}

}  // namespace
}  // namespace halvarin::test
