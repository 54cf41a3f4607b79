// Entries that are made when they are first asked for.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "base/Dictionary.h"
#include "tests/unit/base/NumberedEntries.h"

namespace halvarin::test {
namespace {

TEST(Dictionary, DeferredEntriesAreMadeOnceWhenFirstAskedFor) {
  int fills = 0;
  const DictionaryRef dictionary = Dictionary::makeDeferred([&] {
    ++fills;
    return numberedEntries(40);
  });
  EXPECT_EQ(fills, 0);
  EXPECT_EQ(dictionary->get("name39"), Value(39));
  EXPECT_EQ(fills, 1);
  EXPECT_EQ(dictionary->count(), 40U);
  EXPECT_EQ(fills, 1);
}

struct FirstUse {
  const char* name;
  std::function<void(Dictionary&)> use;
};

TEST(Dictionary, EveryFirstUseMakesTheDeferredEntries) {
  const FirstUse uses[] = {
      {"get", [](Dictionary& d) { static_cast<void>(d.get("x")); }},
      {"has", [](Dictionary& d) { static_cast<void>(d.has("x")); }},
      {"getEach", [](Dictionary& d) { static_cast<void>(d.getEach<1>({"x"})); }},
      {"lookAtEach",
       [](Dictionary& d) {
         static_cast<void>(d.lookAtEach<1>({"x"}, [](const auto& found) { return found[0]; }));
       }},
      {"count", [](Dictionary& d) { static_cast<void>(d.count()); }},
      {"entries", [](Dictionary& d) { static_cast<void>(d.entries()); }},
      {"set", [](Dictionary& d) { d.set("name1", 1); }},
      {"setEach",
       [](Dictionary& d) {
         d.setEach<1>({{{"name1", 1}}});
       }},
      {"addEntriesFrom another", [](Dictionary& d) { d.addEntriesFrom(Dictionary()); }},
      {"addEntriesFrom to another", [](Dictionary& d) { Dictionary().addEntriesFrom(d); }},
  };
  for (const FirstUse& row : uses) {
    SCOPED_TRACE(row.name);
    int fills = 0;
    const DictionaryRef dictionary = Dictionary::makeDeferred([&] {
      ++fills;
      return numberedEntries(3);
    });
    row.use(*dictionary);
    EXPECT_EQ(fills, 1);
    EXPECT_EQ(dictionary->entries(), numberedEntries(3));
    EXPECT_EQ(fills, 1);
  }
}

TEST(Dictionary, AStoredValueStandsOverADeferredOne) {
  const DictionaryRef dictionary = Dictionary::makeDeferred([] { return numberedEntries(3); });
  dictionary->set("name1", "stored");
  EXPECT_EQ(namesOf(*dictionary), (Names{"name0", "name1", "name2"}));
  EXPECT_EQ(dictionary->get("name1"), Value("stored"));
}

TEST(Dictionary, ADeferredFillThatThrowsIsTriedAgain) {
  int fills = 0;
  const DictionaryRef dictionary = Dictionary::makeDeferred([&] {
    if (++fills == 1) {
      throw std::runtime_error("not yet");
    }
    return numberedEntries(2);
  });
  EXPECT_THROW(static_cast<void>(dictionary->count()), std::runtime_error);
  EXPECT_EQ(dictionary->count(), 2U);
  EXPECT_EQ(fills, 2);
}

TEST(Dictionary, LetsGoOfWhatTheDeferredFillHeldOnceItIsFilled) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = held;
  const DictionaryRef dictionary =
      Dictionary::makeDeferred([held = std::move(held)] { return numberedEntries(*held); });
  EXPECT_FALSE(watch.expired());
  EXPECT_EQ(dictionary->count(), 1U);
  EXPECT_TRUE(watch.expired());
}

TEST(Dictionary, ThreadsThatAskAtOnceFillItOnce) {
  for (int round = 0; round < 20; ++round) {
    std::atomic<int> fills{0};
    std::atomic<int> right{0};
    const DictionaryRef dictionary = Dictionary::makeDeferred([&] {
      ++fills;
      std::this_thread::sleep_for(std::chrono::microseconds(100));
      return numberedEntries(30);
    });
    runTogether(4, [&](int thread) {
      right += dictionary->get(numbered(thread)) == Value(thread) ? 1 : 0;
    });
    ASSERT_EQ(fills, 1);
    ASSERT_EQ(right, 4);
  }
}

}  // namespace
}  // namespace halvarin::test
