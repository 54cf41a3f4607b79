#include "base/MergeSort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace halvarin::test {
namespace {

int threeWay(int a, int b) {
  return a < b ? -1 : static_cast<int>(a > b);
}

/// A sort key and the place that the element had before.
using Marked = std::pair<int, std::size_t>;

std::vector<Marked> randomMarked(std::mt19937& random, std::size_t count, int largestKey) {
  std::uniform_int_distribution<int> key(0, largestKey);
  std::vector<Marked> marked;
  for (std::size_t place = 0; place < count; ++place) {
    marked.emplace_back(key(random), place);
  }
  return marked;
}

int byKey(const Marked& a, const Marked& b) {
  return threeWay(a.first, b.first);
}

/// Texts that a lost or doubled element would change.
std::vector<std::string> numberedTexts(std::size_t count) {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < count; ++i) {
    texts.push_back("a text that is too long to lie within the string itself " +
                    std::to_string(1000 + i));
  }
  return texts;
}

TEST(MergeSort, LeavesNoneAndOneElementAsTheyAre) {
  std::vector<int> none;
  std::vector<int> one{7};
  mergeSort(none, threeWay);
  mergeSort(one, threeWay);
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(one, std::vector<int>{7});
}

TEST(MergeSort, SortsEveryOrderOfSixElements) {
  const std::vector<int> sorted{1, 2, 3, 4, 5, 6};
  std::vector<int> order = sorted;
  do {
    std::vector<int> elements = order;
    mergeSort(elements, threeWay);
    ASSERT_EQ(elements, sorted);
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST(MergeSort, KeepsTheOrderOfEqualElements) {
  std::mt19937 random(11);
  for (std::size_t count = 0; count < 300; ++count) {
    std::vector<Marked> elements = randomMarked(random, count, 9);
    std::vector<Marked> expected = elements;
    std::stable_sort(expected.begin(), expected.end(),
                     [](const Marked& a, const Marked& b) { return a.first < b.first; });
    mergeSort(elements, byKey);
    ASSERT_EQ(elements, expected) << count << " elements";
  }
}

TEST(MergeSort, LeavesElementsThatAreAllEqualInTheirOrder) {
  std::mt19937 random(12);
  std::vector<Marked> elements = randomMarked(random, 1000, 0);
  const std::vector<Marked> before = elements;
  mergeSort(elements, byKey);
  EXPECT_EQ(elements, before);
}

TEST(MergeSort, TakesOnlyTheSignOfTheComparison) {
  std::vector<int> elements{300, -200, 50, 0, -1};
  mergeSort(elements, [](int a, int b) { return a - b; });
  EXPECT_EQ(elements, (std::vector<int>{-200, -1, 0, 50, 300}));
}

TEST(MergeSort, MovesElementsThatCannotBeCopied) {
  std::vector<std::unique_ptr<int>> elements;
  for (const int number : {3, 1, 2}) {
    elements.push_back(std::make_unique<int>(number));
  }
  mergeSort(elements, [](const auto& a, const auto& b) { return threeWay(*a, *b); });
  ASSERT_EQ(elements.size(), 3U);
  EXPECT_EQ(*elements[0], 1);
  EXPECT_EQ(*elements[1], 2);
  EXPECT_EQ(*elements[2], 3);
}

TEST(MergeSort, ContradictingComparatorsLoseNoElement) {
  const std::vector<std::string> all = numberedTexts(257);
  std::mt19937 random(13);
  std::uniform_int_distribution<int> anyAnswer(-1, 1);
  for (int round = 0; round < 50; ++round) {
    std::vector<std::string> elements = all;
    mergeSort(elements, [&](const auto&, const auto&) { return anyAnswer(random); });
    std::sort(elements.begin(), elements.end());
    ASSERT_EQ(elements, all);
  }
}

TEST(MergeSort, StubbornComparatorsLoseNoElement) {
  const std::vector<std::string> all = numberedTexts(100);
  for (const int answer : {-1, 0, 1}) {
    SCOPED_TRACE(answer);
    std::vector<std::string> elements = all;
    mergeSort(elements, [answer](const auto&, const auto&) { return answer; });
    std::sort(elements.begin(), elements.end());
    EXPECT_EQ(elements, all);
  }
}

TEST(MergeSort, AComparatorInACircleLosesNoElement) {
  // Each of three beats the next one, so there is no order at all.
  std::vector<int> elements;
  for (int i = 0; i < 99; ++i) {
    elements.push_back(i % 3);
  }
  mergeSort(elements, [](int a, int b) { return a == b ? 0 : ((a + 1) % 3 == b ? -1 : 1); });
  EXPECT_EQ(std::count(elements.begin(), elements.end(), 0), 33);
  EXPECT_EQ(std::count(elements.begin(), elements.end(), 1), 33);
  EXPECT_EQ(std::count(elements.begin(), elements.end(), 2), 33);
}

TEST(MergeSort, LeavesTheElementsAsTheyStoodWhenTheComparatorThrows) {
  std::vector<std::string> all = numberedTexts(40);
  std::reverse(all.begin(), all.end());
  int comparisons = 0;
  std::vector<std::string> counted = all;
  mergeSort(counted, [&](const auto& a, const auto& b) {
    ++comparisons;
    return a.compare(b);
  });
  ASSERT_GT(comparisons, 40);
  for (int throwAt = 1; throwAt <= comparisons; ++throwAt) {
    std::vector<std::string> elements = all;
    int calls = 0;
    const auto throwing = [&](const auto& a, const auto& b) {
      if (++calls == throwAt) {
        throw std::runtime_error("no answer");
      }
      return a.compare(b);
    };
    ASSERT_THROW(mergeSort(elements, throwing), std::runtime_error);
    ASSERT_EQ(elements, all) << "thrown by comparison " << throwAt;
  }
}

}  // namespace
}  // namespace halvarin::test
