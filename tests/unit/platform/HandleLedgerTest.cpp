#include "platform/machine/HandleLedger.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <thread>
#include <vector>

namespace halvarin::test {

namespace {

using platform::HandleCounts;
using platform::HandleLedger;

TEST(HandleLedger, BeginsWithNothingTaken) {
  HandleLedger ledger;
  const HandleCounts counts = ledger.counts();
  EXPECT_EQ(counts.servicesFound, 0U);
  EXPECT_EQ(counts.servicesReleased, 0U);
  EXPECT_EQ(counts.connectionsOpened, 0U);
  EXPECT_EQ(counts.connectionsClosed, 0U);
  EXPECT_EQ(counts.matchingsMade, 0U);
  EXPECT_EQ(counts.matchingsTaken, 0U);
  EXPECT_EQ(counts.iteratorsMade, 0U);
  EXPECT_EQ(counts.iteratorsReleased, 0U);
}

TEST(HandleLedger, GivesServicesNumbersThatAreNeverZeroOrTheSame) {
  HandleLedger ledger;
  std::set<std::uint32_t> numbers;
  for (int i = 0; i < 10; ++i) {
    const std::uint32_t service = ledger.takeService();
    EXPECT_NE(service, 0U);
    numbers.insert(service);
    EXPECT_TRUE(i % 2 == 0 || ledger.releaseService(service));  // a number is not used again
  }
  EXPECT_EQ(numbers.size(), 10U);
  EXPECT_EQ(ledger.counts().servicesFound, 10U);
}

TEST(HandleLedger, KnowsAServiceUntilItIsReleased) {
  HandleLedger ledger;
  const std::uint32_t service = ledger.takeService();
  EXPECT_TRUE(ledger.knowsService(service));
  EXPECT_TRUE(ledger.releaseService(service));
  EXPECT_FALSE(ledger.knowsService(service));
}

TEST(HandleLedger, RefusesAndDoesNotCountAReleaseOfWhatIsNotOut) {
  HandleLedger ledger;
  const std::uint32_t service = ledger.takeService();
  EXPECT_FALSE(ledger.releaseService(service + 1));
  EXPECT_FALSE(ledger.releaseService(0));
  EXPECT_TRUE(ledger.releaseService(service));
  EXPECT_FALSE(ledger.releaseService(service));
  EXPECT_EQ(ledger.counts().servicesReleased, 1U);
}

TEST(HandleLedger, IteratorGivesItsServiceOnce) {
  HandleLedger ledger;
  const std::uint32_t iterator = ledger.takeIterator();
  EXPECT_NE(iterator, 0U);
  EXPECT_EQ(ledger.counts().servicesFound, 0U);
  const std::uint32_t service = ledger.takeNextService(iterator);
  EXPECT_NE(service, 0U);
  EXPECT_NE(service, iterator);
  EXPECT_TRUE(ledger.knowsService(service));
  EXPECT_EQ(ledger.takeNextService(iterator), 0U);
  EXPECT_EQ(ledger.takeNextService(iterator), 0U);
  EXPECT_EQ(ledger.counts().servicesFound, 1U);
}

TEST(HandleLedger, EachIteratorGivesAServiceOfItsOwn) {
  HandleLedger ledger;
  const std::uint32_t first = ledger.takeIterator();
  const std::uint32_t second = ledger.takeIterator();
  EXPECT_NE(first, second);
  EXPECT_NE(ledger.takeNextService(second), ledger.takeNextService(first));
}

TEST(HandleLedger, ServicesAndIteratorsAreNotTakenForEachOther) {
  HandleLedger ledger;
  const std::uint32_t iterator = ledger.takeIterator();
  const std::uint32_t service = ledger.takeService();
  EXPECT_FALSE(ledger.knowsService(iterator));
  EXPECT_FALSE(ledger.releaseService(iterator));
  EXPECT_FALSE(ledger.releaseIterator(service));
  EXPECT_EQ(ledger.takeNextService(service), 0U);
}

TEST(HandleLedger, IteratorIsReleasedOnceAndItsServiceStaysOut) {
  HandleLedger ledger;
  const std::uint32_t iterator = ledger.takeIterator();
  const std::uint32_t service = ledger.takeNextService(iterator);
  EXPECT_TRUE(ledger.releaseIterator(iterator));
  EXPECT_FALSE(ledger.releaseIterator(iterator));
  EXPECT_FALSE(ledger.releaseIterator(0));
  EXPECT_TRUE(ledger.knowsService(service));
  EXPECT_EQ(ledger.counts().iteratorsMade, 1U);
  EXPECT_EQ(ledger.counts().iteratorsReleased, 1U);
}

TEST(HandleLedger, ReleasedIteratorGivesNothingAnyMore) {
  HandleLedger ledger;
  const std::uint32_t iterator = ledger.takeIterator();
  EXPECT_TRUE(ledger.releaseIterator(iterator));
  EXPECT_EQ(ledger.takeNextService(iterator), 0U);
  EXPECT_EQ(ledger.takeNextService(0), 0U);
  EXPECT_EQ(ledger.counts().servicesFound, 0U);
}

TEST(HandleLedger, CountsEachKindApart) {
  HandleLedger ledger;
  ledger.countMatchingMade();
  ledger.countMatchingMade();
  ledger.countMatchingMade();
  ledger.countMatchingMade();
  ledger.countMatchingTaken();
  ledger.countMatchingTaken();
  ledger.countMatchingTaken();
  ledger.countOpened();
  ledger.countOpened();
  ledger.countClosed();
  const HandleCounts counts = ledger.counts();
  EXPECT_EQ(counts.matchingsMade, 4U);
  EXPECT_EQ(counts.matchingsTaken, 3U);
  EXPECT_EQ(counts.connectionsOpened, 2U);
  EXPECT_EQ(counts.connectionsClosed, 1U);
}

TEST(HandleLedger, CountsEveryStepOfManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 500;
  HandleLedger ledger;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&ledger] {
      for (int round = 0; round < kRounds; ++round) {
        ledger.countMatchingMade();
        const std::uint32_t service = ledger.takeService();
        ledger.countOpened();
        EXPECT_TRUE(ledger.knowsService(service));
        EXPECT_TRUE(ledger.releaseService(service));
        ledger.countClosed();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const HandleCounts counts = ledger.counts();
  constexpr std::uint64_t kAll = kThreads * kRounds;
  EXPECT_EQ(counts.servicesFound, kAll);
  EXPECT_EQ(counts.servicesReleased, kAll);
  EXPECT_EQ(counts.connectionsOpened, kAll);
  EXPECT_EQ(counts.connectionsClosed, kAll);
  EXPECT_EQ(counts.matchingsMade, kAll);
}

TEST(HandleLedger, IsOneInTheProcess) {
  EXPECT_EQ(&platform::handleLedger(), &platform::handleLedger());
}

}  // namespace

}  // namespace halvarin::test
