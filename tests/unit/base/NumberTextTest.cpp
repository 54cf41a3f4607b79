#include "base/NumberText.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <string_view>

namespace halvarin::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::uint64_t bitsOf(double value) {
  return std::bit_cast<std::uint64_t>(value);
}

struct DecimalRow {
  const char* name;
  std::string_view text;
  double expected;
};

TEST(NumberText, ReadsTheLeadingDecimalNumberAndIgnoresTheRest) {
  constexpr DecimalRow kRows[] = {
      {"empty", "", 0},
      {"only white space", " \t\n\v\f\r", 0},
      {"word", "volt", 0},
      {"integer", "42", 42},
      {"decimal", "1.5", 1.5},
      {"unit behind", "36.625 V", 36.625},
      {"second number behind", "1.5 2.5", 1.5},
      {"second point behind", "1.2.3", 1.2},
      {"white space before", " \t\n\v\f\r7.25", 7.25},
      {"word before", "about 7", 0},
      {"plus", "+3.5", 3.5},
      {"minus", "-3.5", -3.5},
      {"two signs", "--3.5", 0},
      {"both signs", "+-3.5", 0},
      {"blank after the sign", "- 3.5", 0},
      {"sign alone", "-", 0},
      {"point alone", ".", 0},
      {"sign and point alone", "-.", 0},
      {"no digit before the point", ".5", 0.5},
      {"no digit before the point, minus", "-.5", -0.5},
      {"no digit behind the point", "5.", 5},
      {"leading zeros", "00012.50", 12.5},
      {"exponent", "1.5e3", 1500},
      {"capital exponent", "1.5E3", 1500},
      {"exponent with plus", "1e+3", 1000},
      {"negative exponent", "25e-2", 0.25},
      {"exponent after the point", "5.e1", 50},
      {"exponent and unit", "-.5e3 V", -500},
      {"exponent without digits", "2e", 2},
      {"exponent without digits, plus", "2e+", 2},
      {"exponent without digits, minus", "2e-", 2},
      {"exponent with a letter", "2ex", 2},
      {"exponent alone", "e5", 0},
      {"exponent behind a point alone", ".e5", 0},
      {"exponent with a point", "1e1.9", 10},
      {"comma ends the number", "1,5", 1},
      {"no hexadecimal", "0x1F", 0},
      {"no grouping", "1 000", 1},
      {"largest exact integer", "9007199254740993", 9007199254740992.0},
      {"twenty digits", "12345678901234567890", 12345678901234567890.0},
      {"forty digits", "1234567890123456789012345678901234567890", 1.2345678901234568e39},
      {"many digits behind the point", "0.10000000000000000555111512312578270211815834045", 0.1},
      {"many zeros behind the point", "0.00000000000000000000000000000125", 1.25e-30},
      {"too large", "1e400", kInfinity},
      {"too large, minus", "-1e400", -kInfinity},
      {"much too large", "1e99999999999999999999", kInfinity},
      {"too small", "1e-400", 0},
      {"much too small", "1e-99999999999999999999", 0},
      {"zero with a huge exponent", "0e99999999999999999999", 0},
      {"largest", "1.7976931348623157e308", 1.7976931348623157e308},
      {"first that overflows", "1.7976931348623159e308", kInfinity},
      {"smallest", "5e-324", 5e-324},
      {"smallest normal", "2.2250738585072014e-308", 2.2250738585072014e-308},
      {"half the smallest", "2.4703282292062327e-324", 0},
      {"more than half the smallest", "2.4703282292062328e-324", 5e-324},
  };
  for (const DecimalRow& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(decimalReading(row.text), row.expected);
  }
}

TEST(NumberText, KeepsTheSignOfZero) {
  EXPECT_TRUE(std::signbit(decimalReading("-0")));
  EXPECT_TRUE(std::signbit(decimalReading("-0.000")));
  EXPECT_TRUE(std::signbit(decimalReading("-1e-400")));
  EXPECT_FALSE(std::signbit(decimalReading("0")));
  EXPECT_FALSE(std::signbit(decimalReading("-")));
}

TEST(NumberText, EndsANumberWithItsTextAndNotLater) {
  constexpr std::string_view kLonger = "12.5e3";
  EXPECT_EQ(decimalReading(kLonger.substr(0, 5)), 12.5);
  EXPECT_EQ(decimalReading(kLonger.substr(0, 1)), 1);
  EXPECT_EQ(integerReading(kLonger.substr(0, 1)), 1);
  EXPECT_EQ(decimalReading(std::string_view("1\0002", 3)), 1);
}

TEST(NumberText, DeliberateReadsExactlyNanAndInfBackAsWhatTheyName) {
  EXPECT_TRUE(std::isnan(decimalReading("nan")));
  EXPECT_EQ(decimalReading("inf"), kInfinity);
  EXPECT_EQ(decimalReading("-inf"), -kInfinity);
}

TEST(NumberText, ReadsEveryOtherSpellingOfNoNumberAsZero) {
  for (const char* text : {"NaN", "NAN", "-nan", "+nan", " nan", "nan ", "nan(0)", "nano", "Inf",
                           "INF", "+inf", " inf", "inf ", "-inf ", "infinity", "-infinity"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(bitsOf(decimalReading(text)), bitsOf(0.0));
  }
}

std::string digits(std::mt19937& random, int most) {
  std::string text(
      std::uniform_int_distribution<std::size_t>(0, static_cast<std::size_t>(most))(random), '0');
  for (char& digit : text) {
    digit = static_cast<char>('0' + std::uniform_int_distribution<int>(0, 9)(random));
  }
  return text;
}

template <std::size_t N>
const char* anyOf(std::mt19937& random, const std::array<const char*, N>& choices) {
  return choices[std::uniform_int_distribution<std::size_t>(0, N - 1)(random)];
}

std::string randomDecimal(std::mt19937& random) {
  const int longest = std::uniform_int_distribution<int>(1, 25)(random);
  std::string text = anyOf<4>(random, {"", "", "-", "+"}) + digits(random, longest);
  if (random() % 4 != 0) {
    text += "." + digits(random, longest);
  }
  if (random() % 2 == 0) {
    const int largest = random() % 2 == 0 ? 25 : 340;
    text += anyOf<4>(random, {"e", "E", "e-", "e+"});
    text += std::to_string(std::uniform_int_distribution<int>(0, largest)(random));
  }
  return text + anyOf<6>(random, {"", "", " V", "e", "e+", ".5"});
}

TEST(NumberText, ReadsRandomDecimalsAsTheStandardLibraryDoes) {
  std::mt19937 random(1994);
  for (int round = 0; round < 20000; ++round) {
    const std::string text = randomDecimal(random);
    ASSERT_EQ(bitsOf(decimalReading(text)), bitsOf(std::strtod(text.c_str(), nullptr))) << text;
  }
}

std::string randomSoup(std::mt19937& random) {
  constexpr std::string_view kLetters = "00123456789+-..eE \t";
  std::string text(std::uniform_int_distribution<std::size_t>(0, 12)(random), ' ');
  for (char& letter : text) {
    letter = kLetters[std::uniform_int_distribution<std::size_t>(0, kLetters.size() - 1)(random)];
  }
  return text;
}

TEST(NumberText, ReadsRandomLettersOfNumbersAsTheStandardLibraryDoes) {
  std::mt19937 random(1995);
  for (int round = 0; round < 20000; ++round) {
    const std::string text = randomSoup(random);
    ASSERT_EQ(bitsOf(decimalReading(text)), bitsOf(std::strtod(text.c_str(), nullptr))) << text;
    ASSERT_EQ(integerReading(text), std::strtoll(text.c_str(), nullptr, 10)) << text;
  }
}

TEST(NumberText, ReadsBackEveryDoubleWrittenWithSeventeenDigits) {
  std::mt19937_64 random(1996);
  for (int round = 0; round < 5000; ++round) {
    const auto value = std::bit_cast<double>(random());
    if (std::isfinite(value)) {
      std::array<char, 64> text{};
      std::snprintf(text.data(), text.size(), "%.17g", value);
      ASSERT_EQ(bitsOf(decimalReading(text.data())), bitsOf(value)) << text.data();
    }
  }
}

struct IntegerRow {
  const char* name;
  std::string_view text;
  std::int64_t expected;
};

TEST(NumberText, ReadsTheLeadingIntegerHeldAtTheEndsOfItsRange) {
  constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  constexpr IntegerRow kRows[] = {
      {"empty", "", 0},
      {"only white space", " \t\n\v\f\r", 0},
      {"word", "rpm", 0},
      {"zero", "0", 0},
      {"minus zero", "-0", 0},
      {"number", "1200", 1200},
      {"unit behind", "1200 rpm", 1200},
      {"white space before", " \t\n\v\f\r-7", -7},
      {"plus", "+7", 7},
      {"minus", "-7", -7},
      {"both signs", "+-7", 0},
      {"both signs, minus first", "-+7", 0},
      {"two plus", "++7", 0},
      {"two minus", "--7", 0},
      {"sign alone", "+", 0},
      {"minus alone", "-", 0},
      {"blank after the sign", "+ 7", 0},
      {"leading zeros", "000123", 123},
      {"many leading zeros", "0000000000000000000000000000000042", 42},
      {"decimal", "3.99", 3},
      {"negative decimal", "-3.99", -3},
      {"point first", ".99", 0},
      {"exponent is no part", "1e3", 1},
      {"no hexadecimal", "0x1F", 0},
      {"largest", "9223372036854775807", kMost},
      {"first beyond the largest", "9223372036854775808", kMost},
      {"largest unsigned", "18446744073709551615", kMost},
      {"far beyond the largest", "+99999999999999999999999999999 rpm", kMost},
      {"least", "-9223372036854775808", kLeast},
      {"first below the least", "-9223372036854775809", kLeast},
      {"far below the least", " -99999999999999999999999999999 rpm", kLeast},
  };
  for (const IntegerRow& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(integerReading(row.text), row.expected);
  }
}

struct TruthRow {
  std::string_view text;
  bool expected;
};

TEST(NumberText, IsTrueForTextsThatBeginWithYOrTOrADigitOtherThanZero) {
  constexpr TruthRow kRows[] = {
      {"", false},    {" ", false},        {"0", false},   {"00", false},
      {"0.5", false}, {"N", false},        {"no", false},  {"false", false},
      {"F", false},   {"-", false},        {"+", false},   {"x1", false},
      {"--1", false}, {"+-1", false},      {"- 1", false}, {".5", false},
      {"0x1", false}, {"\xC3\xBD", false}, {"Y", true},    {"y", true},
      {"YES", true},  {"yellow", true},    {"T", true},    {"t", true},
      {"true", true}, {"1", true},         {"2", true},    {"3", true},
      {"4", true},    {"5", true},         {"6", true},    {"7", true},
      {"8", true},    {"9", true},         {"10", true},   {" \t\n\v\f\r1", true},
      {"-1", true},   {"+1", true},        {"007", true},  {"-007", true},
      {" -0Y", true}, {"00t", true},       {"0 1", false},
  };
  for (const TruthRow& row : kRows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(truthReading(row.text), row.expected);
  }
}

TEST(NumberText, WholeDecimalTakesOneNumberAndNothingElse) {
  EXPECT_EQ(wholeDecimal("-12.5e1"), -125.0);
  EXPECT_EQ(wholeDecimal("5."), 5.0);
  for (const char* text : {"", " 1", "1 ", "e5", "..5", "-.e5", "1-2", "1e5e5", "nan", "0x1"}) {
    EXPECT_FALSE(wholeDecimal(text).has_value()) << text;
  }
}

TEST(NumberText, WholeNumberTakesDigitsOfItsBaseAndNothingElse) {
  EXPECT_EQ(wholeNumber("0"), 0U);
  EXPECT_EQ(wholeNumber("0042"), 42U);
  EXPECT_EQ(wholeNumber("18446744073709551615"), 18446744073709551615U);
  EXPECT_EQ(wholeNumber("E00002c1", 16), 0xE00002C1U);
  for (const char* text :
       {"", " 1", "1 ", "-1", "+1", "1.0", "0x1", "1e3", "ff", "18446744073709551616"}) {
    EXPECT_FALSE(wholeNumber(text).has_value()) << text;
  }
  EXPECT_FALSE(wholeNumber("fg", 16).has_value());
}

}  // namespace
}  // namespace halvarin::test
