#include "sensors/ValueDecoder.h"

#include <gtest/gtest.h>

#include <limits>
#include <locale>
#include <vector>

#include "base/Exception.h"
#include "smc/IntegerReading.h"

namespace halvarin::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Decodes bytes as a key of this type and size delivers them: 32 of them, with the integer reading
/// made from them.
std::string decode(std::string_view type, std::int64_t size, Bytes bytes) {
  std::array<std::uint8_t, 32> delivered{};
  std::copy_n(bytes.begin(), std::min(bytes.size(), delivered.size()), delivered.begin());
  return decodeReading({type, size, smcIntegerReading(type, size, delivered), delivered});
}

struct Row {
  const char* type;
  std::int64_t size;
  Bytes bytes;
  const char* expected;
};

void expectAll(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    EXPECT_EQ(decode(row.type, row.size, row.bytes), row.expected)
        << row.type << " of size " << row.size << ", wanted " << row.expected;
  }
}

TEST(ValueHex, DeliberateAlphabetRunsToH) {
  EXPECT_EQ(valueHex('0'), 0);
  EXPECT_EQ(valueHex('9'), 9);
  EXPECT_EQ(valueHex('a'), 10);
  EXPECT_EQ(valueHex('A'), 10);
  EXPECT_EQ(valueHex('g'), 16);
  EXPECT_EQ(valueHex('h'), 17);
  EXPECT_EQ(valueHex('H'), 17);
}

TEST(ValueHex, EverythingElseIsZero) {
  for (const int character : std::vector<int>{'i', 'z', ' ', 0, '/', ':', '@', -1, -128, 127}) {
    EXPECT_EQ(valueHex(static_cast<signed char>(character)), 0) << character;
  }
}

TEST(ValueDecoder, FloatIsLittleEndian) {
  expectAll({{"flt ", 4, {0x00, 0x00, 0x48, 0x42}, "50.00"},
             {"flt ", 4, {0x00, 0x00, 0x00, 0x80}, "-0.00"},
             {"flt", 4, {0x00, 0x00, 0xC8, 0xC2}, "-100.00"},
             {"flt ", 4, {0x00, 0x00, 0x80, 0x7F}, "inf"},
             {"flt ", 4, {0x00, 0x00, 0x80, 0xFF}, "-inf"},
             {"flt ", 4, {0x00, 0x00, 0xC0, 0x7F}, "nan"},
             {"flt ", 4, {0x01, 0x00, 0xC0, 0xFF}, "nan"},
             {"flt ", 4, {0xFF, 0xFF, 0x7F, 0x7F}, "340282346638528859811704183484516925440.00"}});
}

TEST(ValueDecoder, FloatTakesTheLowWordOfTheReadingWhateverTheSize) {
  EXPECT_EQ(decodeReading({"flt ", 2, 0x00004842, {}}), decode("flt ", 4, {0, 0, 0x48, 0x42}));
  EXPECT_EQ(decodeReading({"flt ", 8, std::int64_t{0x1100004842}, {}}), "50.00");
}

TEST(ValueDecoder, SignedFixedPointTakesItsFractionBitsFromTheFourthCharacter) {
  expectAll({{"sp78", 2, {0x28, 0x80}, "40.50"},
             {"sp78", 2, {0xFF, 0x80}, "-0.50"},
             {"sp1e", 2, {0x40, 0x00}, "1.00"},
             {"sp5a", 2, {0x04, 0x00}, "1.00"},
             {"sp5A", 2, {0x04, 0x00}, "1.00"},
             {"spf0", 2, {0x17, 0x53}, "5971.00"},
             {"sp96", 2, {0x80, 0x00}, "-512.00"},
             {"sp2g", 4, {0x00, 0x01, 0x00, 0x00}, "1.00"},
             {"sp2h", 4, {0x00, 0x02, 0x00, 0x00}, "1.00"},
             {"sp7z", 2, {0x00, 0x05}, "5.00"}});
}

TEST(ValueDecoder, SignedFixedPointOfOneByteKeepsTheSignOfARoundedZero) {
  expectAll({{"sp78", 1, {0xFF}, "-0.00"}, {"sp70", 1, {0xFF}, "-1.00"}});
}

TEST(ValueDecoder, DeliberateSignedFixedPointOfOddSizeIsOneByte) {
  // Sizes 3 and 0 have the integer reading 0; size 8 shows the lowest of its eight bytes.
  expectAll({{"sp70", 3, {1, 2, 3}, "0.00"},
             {"sp70", 0, {1}, "0.00"},
             {"sp70", 8, {0, 0, 0, 0, 0, 0, 0x7F, 0xFE}, "-2.00"}});
}

TEST(ValueDecoder, SignedFixedPointOfFourBytesIsSignExtended) {
  expectAll({{"sp78", 4, {0xFF, 0xFF, 0xFF, 0x00}, "-1.00"},
             {"sp70", 4, {0x80, 0x00, 0x00, 0x00}, "-2147483648.00"}});
}

TEST(ValueDecoder, FixedPointIsComputedInSinglePrecision) {
  // 2^24 + 1 has no single-precision form and becomes 2^24.
  expectAll({{"sp70", 4, {0x01, 0x00, 0x00, 0x01}, "16777216.00"},
             {"fp00", 4, {0x01, 0x00, 0x00, 0x01}, "16777216.00"}});
}

TEST(ValueDecoder, UnsignedFixedPointTakesTheLowWordWhateverTheSize) {
  expectAll({{"fpe2", 2, {0x1F, 0x40}, "2000.00"},
             {"fpe2", 2, {0xFF, 0xFF}, "16383.75"},
             {"fp88", 2, {0xFF, 0x80}, "255.50"},
             {"fp1f", 2, {0x80, 0x00}, "1.00"},
             {"fp00", 4, {0xFF, 0xFF, 0xFF, 0xFF}, "4294967296.00"},
             {"fp00", 8, {1, 2, 3, 4, 0, 0, 0, 5}, "5.00"},
             {"fp00", 3, {1, 2, 3}, "0.00"}});
}

TEST(ValueDecoder, FixedPointTypeOfThreeCharactersIsAFault) {
  for (const char* type : {"sp", "sp7", "fp", "fp2", "sp\xC3\xA9"}) {
    EXPECT_THROW(static_cast<void>(decode(type, 2, {1, 2})), Exception) << type;
  }
}

TEST(ValueDecoder, OtherTypesOfThreeCharactersAreNoFault) {
  expectAll({{"ui8", 1, {7}, "7"},
             {"si8", 1, {0xF9}, "-7"},
             {"flt", 4, {0, 0, 0x48, 0x42}, "50.00"},
             {"ui", 1, {3}, "3"},
             {"s", 1, {1}, ""},
             {"", 1, {1}, ""}});
}

TEST(ValueDecoder, DeliberateSignedIntegersAreLittleEndian) {
  expectAll({{"si16", 2, {0x01, 0x00}, "1"},
             {"si16", 2, {0x00, 0x80}, "-32768"},
             {"si8 ", 1, {0xFF}, "-1"},
             {"si32", 4, {0xFE, 0xFF, 0xFF, 0xFF}, "-2"},
             {"si64", 8, {0xFD, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, "-3"},
             {"si64", 8, {0, 0, 0, 0, 0, 0, 0, 0x80}, "-9223372036854775808"}});
}

TEST(ValueDecoder, SignedIntegersOfOddSizeAreEmpty) {
  for (const std::int64_t size : {0, 3, 5, 16, 32, -1}) {
    EXPECT_EQ(decode("si16", size, {1, 2, 3}), "") << size;
  }
}

TEST(ValueDecoder, UnsignedIntegersShowTheIntegerReading) {
  expectAll(
      {{"ui32", 4, {0, 0, 0x01, 0x2C}, "300"},
       {"ui32", 4, {0x2C, 0x01, 0, 0}, "300"},
       {"ui8 ", 1, {0xFF}, "255"},
       {"ui16", 3, {1, 2, 3}, "0"},
       {"ui64", 8, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, "18446744073709551615"}});
  EXPECT_EQ(decodeReading({"ui32", 4, std::int64_t{0x1FFFFFFFF}, {}}), "4294967295");
  EXPECT_EQ(decodeReading({"ui64", 8, std::numeric_limits<std::int64_t>::max(), {}}),
            "9223372036854775807");
}

TEST(ValueDecoder, FlagIsItsFirstByte) {
  expectAll({{"flag", 1, {0x01}, "1"},
             {"flag", 1, {0xFF}, "255"},
             {"flag", 0, {0x02}, "2"},
             {"flag", 4, {0x03, 1, 1, 1}, "3"}});
}

TEST(ValueDecoder, HexTypesShowTheirBytesInOrder) {
  expectAll({{"hex_", 2, {0xAB, 0x01}, "0xab01"},
             {"{jst", 3, {0x00, 0x10, 0xFF}, "0x0010ff"},
             {"hex_", 0, {0xAB}, "0x"},
             {"{jst", 0, {0xAB}, "0x"},
             {"ch8*", 0, {0xAB}, "0x"},
             {"hex_", -4, {0xAB}, "0x"}});
}

TEST(ValueDecoder, DeliberateCharacterDataShowsAsBytes) {
  EXPECT_EQ(decode("ch8*", 2, {0x41, 0x42}), "0x4142");
}

TEST(ValueDecoder, BytesBeyondThe32DeliveredReadAsZero) {
  const std::string text = decode("hex_", 40, Bytes(40, 0xAA));
  std::string expected = "0x";
  for (int i = 0; i < 40; ++i) {
    expected += i < 32 ? "aa" : "00";
  }
  EXPECT_EQ(text, expected);
}

TEST(ValueDecoder, NoMoreThanTheScratchBufferIsShown) {
  EXPECT_EQ(decode("hex_", 128, {}).size(), 2U + 256U);
  EXPECT_EQ(decode("hex_", 65535, {}).size(), 2U + 256U);
  EXPECT_EQ(decode("hex_", std::int64_t{0x7FFFFFFF}, {}).size(), 2U + 256U);
}

TEST(ValueDecoder, SizeIsTakenFromItsLow32Bits) {
  EXPECT_EQ(decode("hex_", std::int64_t{0x100000001}, {0xAB}), "0xab");
  EXPECT_EQ(decode("si16", std::int64_t{0x100000002}, {0x01, 0x00}), "1");
}

TEST(ValueDecoder, OffsetsAreLittleEndianWithSixteenFractionBitsInEightBytes) {
  expectAll({{"ioft", 8, {0, 0, 1, 0, 0, 0, 0, 0}, "1.0000"},
             {"ioft", 8, {0x00, 0x80, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, "-0.5000"},
             {"ioft", 8, {0x01, 0, 0, 0, 0, 0, 0, 0}, "0.0000"},
             {"ioft", 1, {0xFF}, "255"},
             {"ioft", 2, {0xFF, 0xFF}, "65535"},
             {"ioft", 3, {1, 1, 1}, ""},
             {"ioft", 0, {1}, ""}});
}

TEST(ValueDecoder, DeliberateOffsetWordsOfFourBytesShowAsSigned) {
  EXPECT_EQ(decode("ioft", 4, {0xFF, 0xFF, 0xFF, 0xFF}), "-1");
}

TEST(ValueDecoder, UnknownTypesAreEmpty) {
  expectAll({{"{fds", 16, {1, 2}, ""},
             {"{pwm", 2, {1, 2}, ""},
             {"afp2", 2, {1, 2}, ""},
             {"FLT ", 4, {0, 0, 0x48, 0x42}, ""},
             {" ui8", 1, {1}, ""},
             {"xflt", 4, {1}, ""}});
}

TEST(ValueDecoder, PrefixIsEnough) {
  expectAll({{"flagX", 1, {1}, "1"}, {"uint", 1, {9}, "9"}, {"sixx", 1, {9}, "9"}});
}

TEST(ValueDecoder, MissingBytesReadAsZero) {
  EXPECT_EQ(decodeReading({"si16", 2, 0, {}}), "0");
  EXPECT_EQ(decodeReading({"flag", 1, 0, {}}), "0");
  EXPECT_EQ(decodeReading({"hex_", 2, 0, {}}), "0x0000");
}

struct DecimalComma : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(ValueDecoder, TextsAreTheSameInEveryLocale) {
  std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
  EXPECT_EQ(decode("sp78", 2, {0x28, 0x80}), "40.50");
  EXPECT_EQ(decode("ioft", 8, {0, 0, 1, 0, 0, 0, 0, 0}), "1.0000");
  EXPECT_EQ(decode("flt ", 4, {0x00, 0x00, 0x80, 0x5F}), "18446744073709551616.00");
}

TEST(ErrorText, IsTheStatusInLowerCaseHexadecimal) {
  EXPECT_EQ(errorText(132), "error 84");
  EXPECT_EQ(errorText(0), "error 0");
  EXPECT_EQ(errorText(static_cast<std::int32_t>(0xE00002C2)), "error e00002c2");
}

}  // namespace
}  // namespace halvarin::test
