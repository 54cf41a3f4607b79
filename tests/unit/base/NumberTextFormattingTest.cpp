#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <string_view>

#include "base/NumberText.h"

namespace halvarin::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string printed(double value, int digitCount) {
  std::array<char, 512> text{};
  std::snprintf(text.data(), text.size(), "%.*f", digitCount, value);
  return text.data();
}

struct FixedRow {
  const char* name;
  double value;
  int digits;
  std::string_view expected;
};

TEST(NumberText, WritesAFixedNumberOfDigits) {
  constexpr FixedRow kRows[] = {
      {"zero", 0.0, 2, "0.00"},
      {"negative zero", -0.0, 2, "-0.00"},
      {"rounds to negative zero", -0.001, 2, "-0.00"},
      {"no digits, no point", 41.0, 0, "41"},
      {"no digits, negative zero", -0.25, 0, "-0"},
      {"nine digits", 0.5, 9, "0.500000000"},
      {"less than one", 0.0625, 4, "0.0625"},
      {"tie goes to the even digit below", 0.125, 2, "0.12"},
      {"tie goes to the even digit above", 0.375, 2, "0.38"},
      {"negative tie", -0.125, 2, "-0.12"},
      {"tie of a large number", 1024.625, 2, "1024.62"},
      {"half goes to zero", 0.5, 0, "0"},
      {"one and a half goes to two", 1.5, 0, "2"},
      {"two and a half goes to two", 2.5, 0, "2"},
      {"tie of four digits", 0.00625, 4, "0.0063"},
      {"exact tie of four digits", 0.03125, 4, "0.0312"},
      {"looks like a tie, lies below", 1.005, 2, "1.00"},
      {"looks like a tie, lies above", 0.015, 2, "0.01"},
      {"carries through", 99.996, 2, "100.00"},
      {"single precision", 36.599998474121094, 4, "36.6000"},
      {"huge", 1e22, 2, "10000000000000000000000.00"},
      {"infinity", kInfinity, 2, "inf"},
      {"negative infinity", -kInfinity, 2, "-inf"},
      {"not a number", std::numeric_limits<double>::quiet_NaN(), 2, "nan"},
      {"negative not a number", -std::numeric_limits<double>::quiet_NaN(), 4, "nan"},
  };
  for (const FixedRow& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(fixedText(row.value, row.digits), row.expected);
  }
}

TEST(NumberText, WritesTheLargestAndSmallestNumbersAsPrintfDoes) {
  for (const double value :
       {std::numeric_limits<double>::max(), -1e300, 1e15, 9007199254740992.0, 90071992547409.92,
        5e-324, 1.1754943508222875e-38, static_cast<double>(std::numeric_limits<float>::max()),
        static_cast<double>(std::numeric_limits<float>::denorm_min())}) {
    for (int digitCount = 0; digitCount <= 9; ++digitCount) {
      EXPECT_EQ(fixedText(value, digitCount), printed(value, digitCount));
    }
  }
}

TEST(NumberText, WritesRandomFloatsAsPrintfDoes) {
  std::mt19937 random(7);
  for (int round = 0; round < 20000; ++round) {
    const auto value =
        static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
    if (std::isfinite(value)) {
      ASSERT_EQ(fixedText(value, 2), printed(value, 2));
      ASSERT_EQ(fixedText(value, 4), printed(value, 4));
    }
  }
}

TEST(NumberText, WritesRandomSensorReadingsAsPrintfDoes) {
  std::mt19937 random(8);
  std::uniform_real_distribution<float> single(-10000, 10000);
  std::uniform_real_distribution<double> twice(-10000, 10000);
  for (int round = 0; round < 10000; ++round) {
    for (const double value : {static_cast<double>(single(random)), twice(random)}) {
      for (const int digitCount : {0, 1, 2, 3, 4, 5, 9}) {
        ASSERT_EQ(fixedText(value, digitCount), printed(value, digitCount));
      }
    }
  }
}

TEST(NumberText, WritesEveryTieAsPrintfDoes) {
  // The sixteen-bit fixed-point readings of every split hit all ties that a sensor can give.
  for (int number = -4096; number <= 4096; ++number) {
    for (const double parts : {2.0, 8.0, 16.0, 64.0, 256.0, 16384.0}) {
      for (int digitCount = 0; digitCount <= 4; ++digitCount) {
        const double value = number / parts;
        ASSERT_EQ(fixedText(value, digitCount), printed(value, digitCount));
      }
    }
  }
}

TEST(NumberText, WritesRandomDoublesAsPrintfDoes) {
  std::mt19937_64 random(9);
  for (int round = 0; round < 5000; ++round) {
    const auto value = std::bit_cast<double>(random());
    if (std::isfinite(value)) {
      ASSERT_EQ(fixedText(value, 2), printed(value, 2));
      ASSERT_EQ(fixedText(value, 4), printed(value, 4));
    }
  }
}

TEST(NumberText, WritesHexadecimalInLowerCaseWithoutZerosBefore) {
  EXPECT_EQ(hexText(0), "0");
  EXPECT_EQ(hexText(0xA), "a");
  EXPECT_EQ(hexText(0x10), "10");
  EXPECT_EQ(hexText(0x00ABCDEF), "abcdef");
  EXPECT_EQ(hexText(0x80000000), "80000000");
  EXPECT_EQ(hexText(0xFFFFFFFF), "ffffffff");
}

TEST(NumberText, WritesBytesAsTwoUpperCaseDigitsEach) {
  EXPECT_EQ(hexBytes({}), "");
  const std::array<std::uint8_t, 5> bytes{0x00, 0x0F, 0xA0, 0x5B, 0xFF};
  EXPECT_EQ(hexBytes(bytes), "000FA05BFF");
}

TEST(RealText, WritesAsFewOfSixteenDigitsAsItTakes) {
  const std::vector<std::pair<double, const char*>> rows{{0, "0"},
                                                         {45.5, "45.5"},
                                                         {45, "45"},
                                                         {-0.25, "-0.25"},
                                                         {0.1, "0.1"},
                                                         {1e20, "1e+20"},
                                                         {1.0 / 3, "0.3333333333333333"},
                                                         {1e-7, "1e-07"},
                                                         {1234567, "1234567"}};
  for (const auto& [number, text] : rows) {
    EXPECT_EQ(realText(number), text);
  }
}

TEST(RealText, WritesWhatIsNoNumberAsAWord) {
  EXPECT_EQ(realText(std::numeric_limits<double>::quiet_NaN()), "nan");
  EXPECT_EQ(realText(std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(realText(-std::numeric_limits<double>::infinity()), "-inf");
}

}  // namespace
}  // namespace halvarin::test
