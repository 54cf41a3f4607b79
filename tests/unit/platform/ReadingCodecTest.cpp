#include "platform/machine/ReadingCodec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/machine/MachineFile.h"

namespace halvarin::test {

namespace {

using platform::decodeReal;
using platform::encodeReading;
using platform::fourBytes;

using Bytes = std::vector<std::uint8_t>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const double kNoNumber = std::numeric_limits<double>::quiet_NaN();

TEST(ReadingCodec, StoresNumbersInEveryTypeAndSize) {
  struct Row {
    const char* type;
    std::uint32_t size;
    double number;
    Bytes bytes;
  };
  for (const Row& row : std::vector<Row>{
           // Floats have their first byte lowest.
           {"flt ", 4, 50.0, {0x00, 0x00, 0x48, 0x42}},
           {"flt ", 4, -1.25, {0x00, 0x00, 0xA0, 0xBF}},
           {"flt ", 4, 0.0, {0x00, 0x00, 0x00, 0x00}},
           {"flt ", 4, 1e300, {0xFF, 0xFF, 0x7F, 0x7F}},
           {"flt ", 4, -1e300, {0xFF, 0xFF, 0x7F, 0xFF}},
           {"flt ", 4, kInfinity, {0x00, 0x00, 0x80, 0x7F}},
           {"flt ", 4, -kInfinity, {0x00, 0x00, 0x80, 0xFF}},
           // Signed fixed point, the fourth character tells the fraction bits.
           {"sp78", 2, 40.5, {0x28, 0x80}},
           {"sp78", 2, -0.5, {0xFF, 0x80}},
           {"sp78", 2, -127, {0x81, 0x00}},
           {"sp78", 2, 1000, {0x7F, 0xFF}},
           {"sp78", 2, -1000, {0x80, 0x00}},
           {"sp78", 2, kInfinity, {0x7F, 0xFF}},
           {"sp78", 2, kNoNumber, {0x00, 0x00}},
           {"sp78", 2, 0.001953125, {0x00, 0x01}},  // half of the last bit rounds away from zero
           {"sp78", 1, -0.00390625, {0xFF}},
           {"sp78", 4, 1.5, {0x00, 0x00, 0x01, 0x80}},
           {"spa5", 2, -1, {0xFF, 0xE0}},
           {"sp1e", 2, 1, {0x40, 0x00}},
           {"sp0F", 2, 0.5, {0x40, 0x00}},  // the digit's case does not matter
           {"sp1g", 4, 1, {0x00, 0x01, 0x00, 0x00}},
           {"sp1h", 4, 1, {0x00, 0x02, 0x00, 0x00}},
           {"sp7z", 2, 300, {0x01, 0x2C}},  // no digit: no fraction
           // Unsigned fixed point.
           {"fpe2", 2, 2000, {0x1F, 0x40}},
           {"fpe2", 2, 20000, {0xFF, 0xFF}},
           {"fpe2", 2, 1.2, {0x00, 0x05}},  // 4.8 quarters
           {"fpe2", 2, -1, {0x00, 0x00}},
           {"fp88", 2, 1.5, {0x01, 0x80}},
           {"fp88", 1, 0.5, {0x80}},
           {"fp4c", 2, 12.25, {0xC4, 0x00}},
           {"fp1f", 4, 1, {0x00, 0x00, 0x80, 0x00}},
           {"fpe2", 2, kNoNumber, {0x00, 0x00}},
           // Signed integers have their first byte lowest.
           {"si8 ", 1, -100, {0x9C}},
           {"si8 ", 1, 200, {0x7F}},
           {"si8 ", 1, -200, {0x80}},
           {"si16", 2, 1, {0x01, 0x00}},
           {"si16", 2, -1000, {0x18, 0xFC}},
           {"si32", 4, -2, {0xFE, 0xFF, 0xFF, 0xFF}},
           {"si64", 8, -2, {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
           {"si64", 8, 1e30, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}},
           {"si64", 8, -1e30, {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80}},
           {"si16", 2, 2.5, {0x03, 0x00}},
           {"si16", 2, kNoNumber, {0x00, 0x00}},
           // Unsigned integers have their first byte highest.
           {"ui8 ", 1, 255, {0xFF}},
           {"ui8 ", 1, 256, {0xFF}},
           {"ui8 ", 1, -1, {0x00}},
           {"ui8 ", 1, 2.5, {0x03}},
           {"ui16", 2, 300, {0x01, 0x2C}},
           {"ui16", 2, 65535, {0xFF, 0xFF}},
           {"ui32", 4, 70000, {0x00, 0x01, 0x11, 0x70}},
           {"ui64", 8, 7, {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x07}},
           {"ui64", 8, 1e30, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
           {"ui16", 2, kNoNumber, {0x00, 0x00}},
           // Flags hold a number in their first byte.
           {"flag", 1, 1, {0x01}},
           {"flag", 1, 1000, {0xFF}},
           {"flag", 3, 2, {0x02, 0x00, 0x00}},
           // Offsets: small ones are unsigned, those of eight bytes have 16 fraction bits.
           {"ioft", 1, 200, {0xC8}},
           {"ioft", 1, -1, {0x00}},
           {"ioft", 2, 513, {0x01, 0x02}},
           {"ioft", 4, -1, {0xFF, 0xFF, 0xFF, 0xFF}},
           {"ioft", 8, 1, {0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00}},
           {"ioft", 8, -0.5, {0x00, 0x80, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
       }) {
    EXPECT_EQ(encodeReading(fourBytes(row.type), row.size, row.number), row.bytes)
        << row.type << " of " << row.size << " bytes, " << row.number;
  }
}

TEST(ReadingCodec, StoresAFloatThatIsNoNumberAsSuch) {
  const auto bytes = encodeReading(fourBytes("flt "), 4, kNoNumber);
  ASSERT_TRUE(bytes && bytes->size() == 4);
  EXPECT_EQ((*bytes)[3] & 0x7F, 0x7F);
  EXPECT_EQ((*bytes)[2] & 0x80, 0x80);
  EXPECT_NE(((*bytes)[2] & 0x7F) | (*bytes)[1] | (*bytes)[0], 0);
}

TEST(ReadingCodec, StoresNothingInATypeOrSizeThatShowsNoNumber) {
  struct Row {
    std::string_view type;
    std::uint32_t size;
  };
  for (const Row& row : std::vector<Row>{
           {"hex_", 2}, {"ch8*", 2}, {"{jst", 4}, {"zzzz", 2},  {"", 2},     {"flt ", 2},
           {"flt ", 8}, {"sp78", 0}, {"sp78", 3}, {"fpe2", 0},  {"fpe2", 3}, {"fp2", 2},
           {"sp7", 2},  {"ui16", 0}, {"ui32", 3}, {"ui8 ", 16}, {"si16", 3}, {"si8 ", 0},
           {"ioft", 0}, {"ioft", 3}, {"flag", 0}, {"flag", 33}, {"FLT ", 4}, {"SP78", 2}}) {
    EXPECT_EQ(encodeReading(fourBytes(row.type), row.size, 1), std::nullopt)
        << row.type << " of " << row.size << " bytes";
  }
}

// The three wide unsigned types are delivered in either byte order, so a reader takes the smaller
// of the two readings.
bool canBeShown(std::uint64_t number, unsigned size) {
  std::uint64_t swapped = 0;
  for (unsigned i = 0; i < size; ++i) {
    swapped |= ((number >> (8 * i)) & 0xFFU) << (8 * (size - 1 - i));
  }
  const auto magnitude = [](std::uint64_t word) {
    return word > std::uint64_t{1} << 63U ? 0 - word : word;
  };
  return magnitude(number) <= magnitude(swapped);
}

std::uint64_t bigEndian(const Bytes& bytes) {
  std::uint64_t number = 0;
  for (const std::uint8_t byte : bytes) {
    number = number * 256 + byte;
  }
  return number;
}

TEST(ReadingCodec, StoresTheNearestNumberThatAReaderOfEitherByteOrderCanShow) {
  for (std::uint32_t wanted = 0; wanted <= 0xFFFF; ++wanted) {
    const auto bytes = encodeReading(fourBytes("ui16"), 2, wanted);
    ASSERT_TRUE(bytes && bytes->size() == 2);
    const auto stored = static_cast<std::uint32_t>(bigEndian(*bytes));
    ASSERT_TRUE(canBeShown(stored, 2)) << wanted;
    const std::uint32_t distance = std::max(stored, wanted) - std::min(stored, wanted);
    for (std::uint32_t nearer = 0; nearer < distance; ++nearer) {
      ASSERT_FALSE(wanted >= nearer && canBeShown(wanted - nearer, 2)) << wanted;
      ASSERT_FALSE(wanted + nearer <= 0xFFFF && canBeShown(wanted + nearer, 2)) << wanted;
    }
  }
}

TEST(ReadingCodec, FindsANumberThatCanBeShownNearEveryWideOne) {
  struct Row {
    const char* type;
    unsigned size;
  };
  for (const Row& row : std::vector<Row>{{"ui32", 4}, {"ui64", 8}, {"ui32", 8}, {"ui64", 2}}) {
    for (unsigned bit = 0; bit < 8 * row.size; ++bit) {
      for (const int offset : {-1, 0, 1, 100, 256}) {
        const double wanted = std::ldexp(1.0, static_cast<int>(bit)) + offset;
        const auto bytes = encodeReading(fourBytes(row.type), row.size, wanted);
        ASSERT_TRUE(bytes && bytes->size() == row.size) << row.type << " " << wanted;
        const std::uint64_t stored = bigEndian(*bytes);
        EXPECT_TRUE(canBeShown(stored, row.size)) << row.type << " " << wanted;
        const double most = std::ldexp(1.0, static_cast<int>(8 * row.size)) - 1;
        EXPECT_LE(std::abs(static_cast<double>(stored) - std::clamp(wanted, 0.0, most)), 256)
            << row.type << " " << wanted;
      }
    }
  }
}

TEST(ReadingCodec, StoresAnyNumberInOtherUnsignedTypes) {
  EXPECT_EQ(encodeReading(fourBytes("ui8 "), 2, 0x1800), (Bytes{0x18, 0x00}));
  EXPECT_EQ(encodeReading(fourBytes("ui16"), 2, 0x1800), (Bytes{0x17, 0xFF}));
  EXPECT_EQ(encodeReading(fourBytes("fp80"), 2, 0x1800), (Bytes{0x18, 0x00}));
}

TEST(ReadingCodec, TellsWhatAFloatOrFixedPointKeyHolds) {
  struct Row {
    std::string_view type;
    Bytes bytes;
    std::optional<double> number;
  };
  for (const Row& row : std::vector<Row>{
           {"flt ", {0x00, 0x00, 0x48, 0x42}, 50.0},
           {"flt ", {0x00, 0x00, 0x80, 0xFF}, -kInfinity},
           {"sp78", {0x28, 0x80}, 40.5},
           {"sp78", {0x81, 0x00}, -127.0},
           {"sp78", {0xFF}, -0.00390625},
           {"sp78", {0xFF, 0xFF, 0xFF, 0x00}, -1.0},
           {"spa5", {0xFF, 0xE0}, -1.0},
           {"fpe2", {0xFF, 0xFC}, 16383.0},
           {"fp88", {0xFF}, 0.99609375},
           {"fp1f", {0x80, 0x00, 0x00, 0x00}, 65536.0},
           {"fp2", {0x01, 0x2C}, std::nullopt},
           {"flt ", {0x00, 0x00}, std::nullopt},
           {"flt ", {}, std::nullopt},
           {"sp78", {}, std::nullopt},
           {"sp78", {0x00, 0x01, 0x02}, std::nullopt},
           {"fpe2", {0, 0, 0, 0, 0, 0, 0, 1}, std::nullopt},
           {"ui16", {0x01, 0x2C}, std::nullopt},
           {"si16", {0x01, 0x2C}, std::nullopt},
           {"ioft", {0x01}, std::nullopt},
           {"flag", {0x01}, std::nullopt},
           {"hex_", {0x01, 0x2C}, std::nullopt},
       }) {
    EXPECT_EQ(decodeReal(fourBytes(row.type), row.bytes), row.number)
        << row.type << " of " << row.bytes.size() << " bytes";
  }
}

TEST(ReadingCodec, ReadsBackEveryReadingOfTwoBytes) {
  for (const char* type : {"sp78", "spb4", "fpe2", "fp4c"}) {
    for (std::uint32_t word = 0; word <= 0xFFFF; ++word) {
      const Bytes bytes{static_cast<std::uint8_t>(word >> 8U), static_cast<std::uint8_t>(word)};
      const auto number = decodeReal(fourBytes(type), bytes);
      ASSERT_TRUE(number) << type << " " << word;
      ASSERT_EQ(encodeReading(fourBytes(type), 2, *number), bytes) << type << " " << word;
    }
  }
}

}  // namespace

}  // namespace halvarin::test
