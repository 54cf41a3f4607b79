#include "platform/TextOrder.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace halvarin::test {
namespace {

int signOf(int number) {
  return number < 0 ? -1 : static_cast<int>(number > 0);
}

int order(std::string_view a, std::string_view b) {
  return signOf(platform::compareNumericCaseInsensitive(a, b));
}

struct Row {
  const char* name;
  std::string_view a;
  std::string_view b;
  int expected;
};

TEST(TextOrder, ComparesLettersWithoutCaseAndDigitsByTheirNumber) {
  constexpr Row kRows[] = {
      {"both empty", "", "", 0},
      {"empty first", "", "a", -1},
      {"empty before a digit", "", "0", -1},
      {"same", "TC0P", "TC0P", 0},
      {"letters", "TA0P", "TB0P", -1},
      {"beginning of the other", "CPU", "CPU Die", -1},
      {"other case", "TC1c", "tc01C", 0},
      {"case before later letters", "b", "A", 1},
      {"capital between small letters", "a", "B", -1},
      {"nine before ten", "9", "10", -1},
      {"nine before ten inside", "Fan 9 speed", "Fan 10 speed", -1},
      {"number before what follows", "2b", "10a", -1},
      {"what follows equal numbers", "10a", "10b", -1},
      {"several numbers", "1.9.3", "1.10.1", -1},
      {"leading zeros equal", "007", "7", 0},
      {"leading zeros equal inside", "T01p", "T1P", 0},
      {"zeros equal", "000", "0", 0},
      {"zeros equal inside", "a00b", "a0b", 0},
      {"zero before one", "00", "1", -1},
      {"leading zeros then larger", "008", "7", 1},
      {"number longer than 64 bits", "99999999999999999999998", "99999999999999999999999", -1},
      {"longer number", "99999999999999999999999", "100000000000000000000000", -1},
      {"digit before letter", "1", "a", -1},
      {"digits before letter", "T9", "Ta", -1},
      {"digits or end", "T", "T0", -1},
      {"blank before digit", " 1", "1", -1},
      {"sign is a character", "-9", "-10", -1},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(order(row.a, row.b), row.expected);
    EXPECT_EQ(order(row.b, row.a), -row.expected);
  }
}

TEST(TextOrder, TakesTheCaseFromLettersBeyondAscii) {
  constexpr Row kRows[] = {
      {"accented letter", "\xC3\x89t\xC3\xA9", "\xC3\xA9T\xC3\x89", 0},
      {"umlaut",
       "L\xC3\x9C"
       "FTER",
       "l\xC3\xBC"
       "fter",
       0},
      {"Cyrillic", "\xD0\x96", "\xD0\xB6", 0},
      {"Greek", "\xCE\xA3", "\xCF\x83", 0},
      {"Greek at the end of a word", "\xCE\xA3", "\xCF\x82", 0},
      {"kelvin sign", "\xE2\x84\xAA", "k", 0},
      {"letter of four bytes", "\xF0\x90\x90\x80", "\xF0\x90\x90\xA8", 0},
      {"other letters", "\xC3\xA9", "\xC3\xA8", 1},
      {"number behind an accented letter",
       "\xC3\x89"
       "9",
       "\xC3\xA9"
       "10",
       -1},
  };
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(order(row.a, row.b), row.expected);
    EXPECT_EQ(order(row.b, row.a), -row.expected);
  }
}

TEST(TextOrder, TellsBytesThatAreNotUtf8Apart) {
  EXPECT_EQ(order("\xFF", "\xFF"), 0);
  EXPECT_NE(order("\xFF", "\xFE"), 0);
  EXPECT_NE(order("\xC3", "\xC3\xA9"), 0);
  EXPECT_NE(order("\xC3", ""), 0);
  EXPECT_NE(order("a\x80", "a"), 0);
}

TEST(TextOrder, ReadsNoByteBeyondTheText) {
  constexpr std::string_view kWhole =
      "T\xC3\xA9"
      "10";
  EXPECT_EQ(order(kWhole.substr(0, 2), std::string("T\xC3")), 0);
  EXPECT_EQ(order(kWhole.substr(0, 4), std::string("T\xC3\xA9"
                                                   "1")),
            0);
}

/// Texts from few pieces, so that many pairs share a long beginning.
std::string randomText(std::mt19937& random) {
  constexpr std::array<std::string_view, 18> kPieces{
      "a", "A",        "b",        "0",        "00",   "1",    "9",    "10", "007",
      " ", "\xC3\xA9", "\xC3\x89", "\xCE\xA3", "\xFF", "\xC3", "\x80", "/",  ":"};
  std::string text;
  for (auto pieces = std::uniform_int_distribution<int>(0, 5)(random); pieces > 0; --pieces) {
    text += kPieces[std::uniform_int_distribution<std::size_t>(0, kPieces.size() - 1)(random)];
  }
  return text;
}

TEST(TextOrder, IsTheSameFromBothSidesForRandomTexts) {
  std::mt19937 random(31);
  int equal = 0;
  for (int round = 0; round < 50000; ++round) {
    const std::string a = randomText(random);
    const std::string b = randomText(random);
    ASSERT_EQ(order(a, b), -order(b, a)) << a << " and " << b;
    ASSERT_EQ(order(a, a), 0) << a;
    equal += order(a, b) == 0 ? 1 : 0;
  }
  EXPECT_GT(equal, 500);
  EXPECT_LT(equal, 25000);
}

TEST(TextOrder, IsTheSameFromBothSidesForRandomBytes) {
  std::mt19937 random(32);
  for (int round = 0; round < 50000; ++round) {
    std::array<std::string, 2> texts;
    for (std::string& text : texts) {
      text.resize(random() % 6);
      for (char& byte : text) {
        byte = static_cast<char>(random());
      }
    }
    ASSERT_EQ(order(texts[0], texts[1]), -order(texts[1], texts[0]));
    ASSERT_EQ(order(texts[0], texts[0]), 0);
  }
}

TEST(TextOrder, NeverContradictsItselfOverThreeRandomTexts) {
  std::mt19937 random(33);
  int ordered = 0;
  for (int round = 0; round < 50000; ++round) {
    const std::string a = randomText(random);
    const std::string b = randomText(random);
    const std::string c = randomText(random);
    if (order(a, b) <= 0 && order(b, c) <= 0) {
      ++ordered;
      ASSERT_LE(order(a, c), 0) << a << ", " << b << ", " << c;
    }
  }
  EXPECT_GT(ordered, 5000);
}

}  // namespace
}  // namespace halvarin::test
