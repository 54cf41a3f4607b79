#include "base/Dictionary.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/unit/base/NumberedEntries.h"

namespace halvarin::test {
namespace {

TEST(Dictionary, IsEmptyAtFirst) {
  const DictionaryRef dictionary = Dictionary::make();
  EXPECT_EQ(dictionary->count(), 0U);
  EXPECT_TRUE(dictionary->entries().empty());
  EXPECT_TRUE(dictionary->get("key").isNothing());
  EXPECT_FALSE(dictionary->has("key"));
}

TEST(Dictionary, GivesWhatWasStored) {
  Dictionary dictionary;
  dictionary.set("key", "TC0P");
  dictionary.set("", 1);
  EXPECT_EQ(dictionary.get("key"), Value("TC0P"));
  EXPECT_EQ(dictionary.get(""), Value(1));
  EXPECT_TRUE(dictionary.has("key"));
  EXPECT_TRUE(dictionary.get("Key").isNothing());
  EXPECT_TRUE(dictionary.get("ke").isNothing());
}

TEST(Dictionary, KeepsTheOrderOfInsertion) {
  Dictionary dictionary;
  for (const char* name : {"zebra", "ant", "mouse"}) {
    dictionary.set(name, 1);
  }
  EXPECT_EQ(namesOf(dictionary), (Names{"zebra", "ant", "mouse"}));
}

TEST(Dictionary, AReplacedValueKeepsItsPlace) {
  Dictionary dictionary;
  dictionary.set("first", 1);
  dictionary.set("second", 2);
  dictionary.set("first", "one");
  EXPECT_EQ(namesOf(dictionary), (Names{"first", "second"}));
  EXPECT_EQ(dictionary.get("first"), Value("one"));
  EXPECT_EQ(dictionary.count(), 2U);
}

TEST(Dictionary, StoringNothingRemovesTheEntry) {
  Dictionary dictionary(numberedEntries(3));
  dictionary.set("name1", Value());
  EXPECT_EQ(namesOf(dictionary), (Names{"name0", "name2"}));
  EXPECT_FALSE(dictionary.has("name1"));
  dictionary.set("never stored", Value());
  EXPECT_EQ(dictionary.count(), 2U);
}

TEST(Dictionary, AnEntryStoredAgainAfterItsRemovalComesLast) {
  Dictionary dictionary(numberedEntries(3));
  dictionary.set("name0", Value());
  dictionary.set("name0", 7);
  EXPECT_EQ(namesOf(dictionary), (Names{"name1", "name2", "name0"}));
}

TEST(Dictionary, EveryHolderSeesAChange) {
  const DictionaryRef record = Dictionary::make();
  const Value held(record);
  record->set("value", 42);
  EXPECT_EQ(held.dictionary()->get("value"), Value(42));
}

TEST(Dictionary, EntriesStayThoseOfTheMomentTheyWereTaken) {
  Dictionary dictionary(numberedEntries(2));
  const Dictionary::Entries before = dictionary.entries();
  dictionary.set("name0", "changed");
  dictionary.set("name2", 2);
  EXPECT_EQ(before, numberedEntries(2));
}

TEST(Dictionary, FindsEveryEntryAtEverySizeWhileItGrowsAndShrinks) {
  constexpr int kMost = 60;
  Dictionary dictionary;
  const auto expectExactly = [&](int first, int end) {
    SCOPED_TRACE(std::to_string(first) + " to " + std::to_string(end));
    ASSERT_EQ(dictionary.count(), static_cast<std::size_t>(end - first));
    for (int i = 0; i < kMost; ++i) {
      const bool expected = i >= first && i < end;
      const Value found = dictionary.get(numbered(i));
      ASSERT_EQ(!found.isNothing(), expected) << numbered(i);
      ASSERT_EQ(found.intValue(), expected ? i : 0) << numbered(i);
    }
  };
  for (int end = 1; end <= kMost; ++end) {
    dictionary.set(numbered(end - 1), end - 1);
    ASSERT_NO_FATAL_FAILURE(expectExactly(0, end));
  }
  for (int first = 1; first <= kMost; ++first) {
    dictionary.set(numbered(first - 1), Value());
    ASSERT_NO_FATAL_FAILURE(expectExactly(first, kMost));
  }
}

TEST(Dictionary, RandomChangesLeaveWhatAPlainMapAndAListOfNamesHold) {
  std::mt19937 random(4711);
  std::uniform_int_distribution<int> anyName(0, 39);
  std::uniform_int_distribution<int> anyChange(0, 2);
  Dictionary dictionary;
  std::map<std::string, int> values;
  Names order;
  for (int round = 0; round < 5000; ++round) {
    const std::string name = numbered(anyName(random));
    const auto place = std::find(order.begin(), order.end(), name);
    if (anyChange(random) == 0) {
      dictionary.set(name, Value());
      values.erase(name);
      order.erase(place, place == order.end() ? place : place + 1);
    } else {
      dictionary.set(name, round);
      values[name] = round;
      order.insert(order.end(), place == order.end() ? 1U : 0U, name);
    }
    ASSERT_EQ(namesOf(dictionary), order) << "round " << round;
    for (int i = 0; i < 40; ++i) {
      const Value found = dictionary.get(numbered(i));
      const auto expected = values.find(numbered(i));
      ASSERT_EQ(found.isNothing(), expected == values.end()) << numbered(i) << " round " << round;
      ASSERT_EQ(found.intValue(), found.isNothing() ? 0 : expected->second) << numbered(i);
    }
  }
}

TEST(Dictionary, IsMadeFromManyEntriesAtOnce) {
  const Dictionary dictionary(numberedEntries(500));
  EXPECT_EQ(dictionary.count(), 500U);
  EXPECT_EQ(dictionary.get("name0"), Value(0));
  EXPECT_EQ(dictionary.get("name499"), Value(499));
  EXPECT_TRUE(dictionary.get("name500").isNothing());
}

// A name stands for one value, however many entries the dictionary is made from: the last one.
TEST(Dictionary, ANameGivenTwiceAtTheStartHasTheLastValueOnly) {
  for (const int others : {1, 40}) {
    SCOPED_TRACE(std::to_string(others) + " other entries");
    Dictionary::Entries entries = numberedEntries(others);
    entries.insert(entries.begin(), {"twice", "early"});
    entries.emplace_back("twice", "late");
    Dictionary dictionary(entries);
    EXPECT_EQ(dictionary.count(), static_cast<std::size_t>(others) + 1);
    EXPECT_EQ(dictionary.get("twice"), Value("late"));
    dictionary.set("twice", Value());
    EXPECT_FALSE(dictionary.has("twice"));
  }
}

TEST(Dictionary, GetsSeveralValuesInTheOrderAskedFor) {
  for (const int count : {3, 40}) {
    SCOPED_TRACE(std::to_string(count) + " entries");
    const Dictionary dictionary(numberedEntries(count));
    const auto values = dictionary.getEach<4>({"name2", "missing", "name0", "name2"});
    EXPECT_EQ(values[0], Value(2));
    EXPECT_TRUE(values[1].isNothing());
    EXPECT_EQ(values[2], Value(0));
    EXPECT_EQ(values[3], Value(2));
  }
}

TEST(Dictionary, ShowsSeveralValuesWithoutCopyingThem) {
  for (const int count : {3, 40}) {
    SCOPED_TRACE(std::to_string(count) + " entries");
    Dictionary dictionary(numberedEntries(count));
    dictionary.set("name1", "text");
    const Value* at = nullptr;
    const bool isRight =
        dictionary.lookAtEach<3>({"name2", "missing", "name1"}, [&](const auto& found) {
          at = found[2];
          return *found[0] == Value(2) && found[1]->isNothing() && found[2]->textView() == "text";
        });
    EXPECT_TRUE(isRight);
    EXPECT_EQ(at, dictionary.lookAtEach<1>({"name1"}, [](const auto& found) { return found[0]; }));
  }
}

TEST(Dictionary, MayBeUsedAgainAfterALookThatThrew) {
  const Dictionary dictionary(numberedEntries(1));
  EXPECT_THROW(static_cast<void>(dictionary.lookAtEach<1>(
                   {"name0"}, [](const auto&) -> int { throw std::runtime_error("seen enough"); })),
               std::runtime_error);
  EXPECT_EQ(dictionary.get("name0"), Value(0));
}

TEST(Dictionary, SetsSeveralValuesInTheirOrder) {
  const Value nothing;
  for (const int count : {2, 40}) {
    SCOPED_TRACE(std::to_string(count) + " entries");
    Dictionary dictionary(numberedEntries(count));
    dictionary.setEach<4>(
        {{{"new", 10}, {"name0", "zero"}, {"name1", nothing}, {"new", "last write"}}});
    EXPECT_EQ(dictionary.count(), static_cast<std::size_t>(count));
    EXPECT_EQ(dictionary.get("new"), Value("last write"));
    EXPECT_EQ(dictionary.get("name0"), Value("zero"));
    EXPECT_FALSE(dictionary.has("name1"));
    EXPECT_EQ(namesOf(dictionary).back(), "new");
  }
}

TEST(Dictionary, SeveralValuesAreSetAndGotAtOneMoment) {
  Dictionary dictionary;
  dictionary.setEach<2>({{{"a", 0}, {"b", 0}}});
  std::atomic<bool> done{false};
  std::thread writer([&] {
    for (int i = 1; i <= 3000; ++i) {
      dictionary.setEach<2>({{{"a", i}, {"b", i}}});
    }
    done = true;
  });
  int torn = 0;
  do {
    const auto [a, b] = dictionary.getEach<2>({"a", "b"});
    torn += a == b ? 0 : 1;
  } while (!done);
  writer.join();
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(dictionary.get("b"), Value(3000));
}

TEST(Dictionary, AddsTheEntriesOfAnotherAfterItsOwn) {
  Dictionary dictionary(numberedEntries(2));
  Dictionary other;
  other.set("new", "n");
  other.set("name0", "replaced");
  dictionary.addEntriesFrom(other);
  EXPECT_EQ(namesOf(dictionary), (Names{"name0", "name1", "new"}));
  EXPECT_EQ(dictionary.get("name0"), Value("replaced"));
  EXPECT_EQ(other.count(), 2U);
}

TEST(Dictionary, AddingItsOwnEntriesChangesNothing) {
  for (const int count : {0, 3, 40}) {
    SCOPED_TRACE(std::to_string(count) + " entries");
    Dictionary dictionary(numberedEntries(count));
    dictionary.addEntriesFrom(dictionary);
    EXPECT_EQ(dictionary.entries(), numberedEntries(count));
  }
}

TEST(Dictionary, TwoMayBeMergedBothWaysAtOnce) {
  Dictionary left(numberedEntries(30));
  Dictionary right;
  right.set("only right", 1);
  runTogether(2, [&](int thread) {
    for (int i = 0; i < 200; ++i) {
      thread == 0 ? left.addEntriesFrom(right) : right.addEntriesFrom(left);
    }
  });
  EXPECT_EQ(left.get("only right"), Value(1));
  EXPECT_EQ(left.count(), 31U);
  EXPECT_EQ(right.count(), 31U);
}

TEST(Dictionary, SetsOfSeveralThreadsAreAllKept) {
  constexpr int kThreads = 4;
  constexpr int kEach = 100;
  Dictionary dictionary;
  runTogether(kThreads, [&](int thread) {
    for (int i = 0; i < kEach; ++i) {
      const int number = thread * kEach + i;
      dictionary.set(numbered(number), number);
      dictionary.set("shared", number);
      static_cast<void>(dictionary.get(numbered(i)));
    }
  });
  EXPECT_EQ(dictionary.count(), std::size_t{kThreads * kEach + 1});
  for (int number = 0; number < kThreads * kEach; ++number) {
    ASSERT_EQ(dictionary.get(numbered(number)), Value(number));
  }
}

}  // namespace
}  // namespace halvarin::test
