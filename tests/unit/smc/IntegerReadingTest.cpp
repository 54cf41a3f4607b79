#include "smc/IntegerReading.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace halvarin::test {
namespace {

struct Row {
  const char* name;
  const char* type;
  std::int64_t size;
  std::vector<std::uint8_t> bytes;
  std::int64_t expected;
};

std::int64_t read(const Row& row) {
  std::array<std::uint8_t, 32> bytes{};
  std::copy(row.bytes.begin(), row.bytes.end(), bytes.begin());
  return smcIntegerReading(row.type, row.size, bytes);
}

void expectAll(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    EXPECT_EQ(read(row), row.expected) << row.name;
  }
}

TEST(IntegerReading, Ui16ReadsTheSmallerOfBothOrders) {
  expectAll({{"big-endian 300", "ui16", 2, {0x01, 0x2C}, 300},
             {"little-endian 300", "ui16", 2, {0x2C, 0x01}, 300}});
}

TEST(IntegerReading, WiderUnsignedTypesReadTheSmallerOfBothOrders) {
  expectAll({{"ui32 as stored", "ui32", 4, {0, 0, 0x04, 0xD2}, 1234},
             {"ui32 reversed", "ui32", 4, {0xD2, 0x04, 0, 0}, 1234},
             {"ui64 as stored", "ui64", 8, {0, 0, 0, 0, 0, 0, 0x04, 0xD2}, 1234},
             {"ui64 reversed", "ui64", 8, {0xD2, 0x04, 0, 0, 0, 0, 0, 0}, 1234}});
}

TEST(IntegerReading, MagnitudeOfA64BitReadingIsThatOfTheSignedNumber) {
  // Big-endian -1 against little-endian -1: a tie; FF..FE is -2 big-endian and huge the other way.
  expectAll(
      {{"minus one", "ui64", 8, std::vector<std::uint8_t>(8, 0xFF), -1},
       {"minus two", "ui64", 8, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}, -2},
       {"minus two reversed", "ui64", 8, {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, -2},
       {"most negative against 128", "ui64", 8, {0x80, 0, 0, 0, 0, 0, 0, 0}, 128}});
}

TEST(IntegerReading, TieKeepsBigEndian) {
  expectAll({{"palindrome", "ui16", 2, {0x12, 0x12}, 0x1212},
             {"one and minus one differ only in sign", "ui64", 8, {0, 0, 0, 0, 0, 0, 0, 0}, 0}});
}

TEST(IntegerReading, OtherTypesStayBigEndianEvenWhenTheOtherOrderIsSmaller) {
  expectAll({{"fpe2", "fpe2", 2, {0x2C, 0x01}, 11265},
             {"flt", "flt ", 4, {0x48, 0x42, 0, 0}, 0x48420000},
             {"si16", "si16", 2, {0x2C, 0x01}, 11265},
             {"hex_", "hex_", 4, {1, 0, 0, 0}, 0x01000000},
             {"ui16 with more text", "ui16x", 2, {0x2C, 0x01}, 11265},
             {"ui8 of two bytes", "ui8", 2, {0x2C, 0x01}, 11265}});
}

TEST(IntegerReading, OneByteReadsAsItIs) {
  expectAll({{"ui8", "ui8 ", 1, {0xFE}, 254}, {"ui16 of one byte", "ui16", 1, {0xFE}, 254}});
}

TEST(IntegerReading, OddSizesReadZero) {
  for (const std::int64_t size : {0, 3, 5, 6, 7, 9, 16, 32, -1}) {
    EXPECT_EQ(read({"odd", "ui32", size, std::vector<std::uint8_t>(32, 0x11), 0}), 0) << size;
  }
  EXPECT_EQ(read({"huge", "ui32", std::int64_t{0x100000002}, {0x11, 0x22}, 0}), 0);
}

TEST(IntegerReading, EightBytesOfOtherTypesFillTheSignedNumber) {
  expectAll({{"all ones", "ioft", 8, std::vector<std::uint8_t>(8, 0xFF), -1},
             {"largest",
              "ioft",
              8,
              {0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
              std::numeric_limits<std::int64_t>::max()}});
}

}  // namespace
}  // namespace halvarin::test
