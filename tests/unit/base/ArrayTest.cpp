#include "base/Array.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace halvarin::test {
namespace {

std::vector<Value> valuesOf(const ArrayElements& elements) {
  return {elements.begin(), elements.end()};
}

using Values = std::vector<Value>;

TEST(Array, IsEmptyWithoutElements) {
  const ArrayRef array = Array::make();
  EXPECT_EQ(array->count(), 0U);
  EXPECT_EQ(array->elements().size(), 0U);
  EXPECT_TRUE(array->elements().begin() == array->elements().end());
}

TEST(Array, KeepsTheOrderOfItsElements) {
  const ArrayRef array = Array::make({"first", 2, true});
  array->append("last");
  ASSERT_EQ(array->count(), 4U);
  EXPECT_EQ(array->at(0), Value("first"));
  EXPECT_EQ(array->at(1), Value(2));
  EXPECT_EQ(array->at(2), Value(true));
  EXPECT_EQ(array->at(3), Value("last"));
  EXPECT_EQ(array->elements()[3], Value("last"));
}

TEST(Array, HasNothingBeyondItsEnd) {
  const ArrayRef array = Array::make({"only"});
  EXPECT_TRUE(array->at(1).isNothing());
  EXPECT_TRUE(array->at(static_cast<std::size_t>(-1)).isNothing());
  EXPECT_TRUE(Array::make()->at(0).isNothing());
}

TEST(Array, ElementsStayThoseOfTheMomentTheyWereTaken) {
  const ArrayRef array = Array::make({1, 2});
  const ArrayElements before = array->elements();
  array->append(3);
  EXPECT_EQ(valuesOf(before), (Values{1, 2}));
  EXPECT_EQ(valuesOf(array->elements()), (Values{1, 2, 3}));
}

TEST(Array, ElementsOutliveTheArray) {
  ArrayRef array = Array::make({"a text too long to lie within a value itself, so to speak", 2});
  const ArrayElements elements = array->elements();
  array.reset();
  ASSERT_EQ(elements.size(), 2U);
  EXPECT_EQ(elements[0], Value("a text too long to lie within a value itself, so to speak"));
}

TEST(Array, MayGrowWhileItsElementsAreWalked) {
  const ArrayRef array = Array::make({1, 2, 3});
  int walked = 0;
  for (const Value& element : array->elements()) {
    array->append(element.intValue() * 10);
    ++walked;
  }
  EXPECT_EQ(walked, 3);
  EXPECT_EQ(valuesOf(array->elements()), (Values{1, 2, 3, 10, 20, 30}));
}

TEST(Array, ACopyHasTheSameElementsAndGrowsByItself) {
  const ArrayRef inner = Array::make();
  const ArrayRef array = Array::make({1, inner});
  const ArrayRef copy = array->copy();
  copy->append(2);
  array->append(3);
  EXPECT_EQ(valuesOf(copy->elements()), (Values{1, inner, 2}));
  EXPECT_EQ(valuesOf(array->elements()), (Values{1, inner, 3}));
  EXPECT_EQ(copy->at(1).array(), inner);
}

TEST(Array, EveryHolderSeesAnAddedElement) {
  const ArrayRef array = Array::make();
  const Value held(array);
  const Value& copy = held;
  array->append("new");
  ASSERT_EQ(copy.array()->count(), 1U);
  EXPECT_EQ(copy.array()->at(0), Value("new"));
}

TEST(Array, LosesNoElementThatThreadsAddAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kEach = 100;
  const ArrayRef array = Array::make();
  std::vector<std::thread> threads;
  for (int writer = 0; writer < kThreads; ++writer) {
    threads.emplace_back([&array, writer] {
      for (int i = 0; i < kEach; ++i) {
        array->append(writer * kEach + i);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::vector<int> timesSeen(kThreads * kEach);
  const auto elements = array->elements();
  for (const Value& element : elements) {
    ++timesSeen.at(static_cast<std::size_t>(element.intValue()));
  }
  EXPECT_EQ(timesSeen, std::vector<int>(kThreads * kEach, 1));
}

TEST(Array, ReadersSeeWholeArraysWhileAnotherThreadAdds) {
  constexpr int kAdded = 300;
  const ArrayRef array = Array::make();
  std::atomic<bool> done{false};
  std::thread writer([&] {
    for (int i = 0; i < kAdded; ++i) {
      array->append(i);
    }
    done = true;
  });
  std::uint64_t wrong = 0;
  do {
    const auto elements = array->elements();
    for (std::size_t i = 0; i < elements.size(); ++i) {
      wrong += elements[i].intValue() == static_cast<int>(i) ? 0U : 1U;
    }
  } while (!done);
  writer.join();
  EXPECT_EQ(wrong, 0U);
  EXPECT_EQ(array->count(), std::size_t{kAdded});
}

}  // namespace
}  // namespace halvarin::test
