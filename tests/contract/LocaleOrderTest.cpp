#include "platform/LocaleOrder.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace halvarin::test {
namespace {

int signOf(int number) {
  return number < 0 ? -1 : static_cast<int>(number > 0);
}

int order(std::u16string_view a, std::u16string_view b) {
  return signOf(platform::LocaleOrder().compare(a, b));
}

struct Row {
  std::u16string_view a;
  std::u16string_view b;
  int expected;
};

TEST(LocaleOrder, ComparesLettersWithoutCaseAndDigitsByTheirNumber) {
  constexpr std::array<Row, 8> kRows{{{u"Fan 1", u"fan 2", -1},
                                      {u"fan 3", u"Fan 2", 1},
                                      {u"9", u"10", -1},
                                      {u"Core 10", u"Core 9", 1},
                                      {u"", u"a", -1},
                                      {u"", u"", 0},
                                      {u"CPU", u"CPU core", -1},
                                      {u"b", u"A", 1}}};
  for (std::size_t i = 0; i < kRows.size(); ++i) {
    EXPECT_EQ(order(kRows[i].a, kRows[i].b), kRows[i].expected) << i;
    EXPECT_EQ(order(kRows[i].b, kRows[i].a), -kRows[i].expected) << i;
  }
}

TEST(LocaleOrder, AccentsCountLessThanLetters) {
  EXPECT_EQ(order(u"L\u00fcfter", u"Lufu"), -1);
  EXPECT_NE(order(u"L\u00fcfter", u"Lufter"), 0);
}

TEST(LocaleOrder, OnlyTheSameTextIsNeitherBeforeNorAfter) {
  EXPECT_EQ(order(u"Fan", u"Fan"), 0);
  EXPECT_NE(order(u"Fan", u"fan"), 0);
  EXPECT_EQ(order(u"Fan", u"fan"), -order(u"fan", u"Fan"));
  EXPECT_NE(order(u"Fan 1", u"Fan 01"), 0);
}

TEST(LocaleOrder, CaseDecidesOnlyBetweenTextsThatAreTheSameOtherwise) {
  EXPECT_EQ(order(u"FAN A", u"fan b"), -1);
  EXPECT_EQ(order(u"fan a", u"FAN B"), -1);
}

TEST(LocaleOrder, TakesHalfACharacter) {
  const std::u16string half(1, u'\xD83D');
  EXPECT_EQ(order(half, half), 0);
  EXPECT_NE(order(half, u"a"), 0);
}

TEST(LocaleOrder, IsTheSameBothWaysForAnyTexts) {
  const platform::LocaleOrder order;
  std::mt19937 random(7);
  const auto any = [&random] {
    std::u16string text;
    for (std::size_t length = random() % 6; length > 0; --length) {
      text.push_back(u"aA1 02\u00e4z"[random() % 8]);
    }
    return text;
  };
  for (int i = 0; i < 2000; ++i) {
    const std::u16string a = any();
    const std::u16string b = any();
    EXPECT_EQ(signOf(order.compare(a, b)), -signOf(order.compare(b, a)));
    EXPECT_EQ(order.compare(a, b) == 0, a == b);
  }
}

TEST(LocaleOrder, ThreadsMayShareOne) {
  const platform::LocaleOrder order;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&order] {
      for (int round = 0; round < 1000; ++round) {
        EXPECT_LT(order.compare(u"Fan 9", u"fan 10"), 0);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace
}  // namespace halvarin::test
