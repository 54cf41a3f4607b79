#include "platform/machine/ReadingMotion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "platform/machine/BuiltInMachine.h"
#include "tests/support/Machines.h"

namespace halvarin::test {

namespace {

using platform::movedReading;
using platform::RecordedKey;

using namespace std::chrono_literals;

double signedFixedPoint(const Bytes& bytes, double divisor) {
  return static_cast<std::int16_t>(bytes[0] << 8U | bytes[1]) / divisor;
}

/// The largest and the smallest of what a key reads in ten minutes, a reading every second.
struct Range {
  double least = std::numeric_limits<double>::infinity();
  double most = -std::numeric_limits<double>::infinity();
};

template <typename Decode>
Range rangeOf(const RecordedKey& recorded, const Decode& decode) {
  Range range;
  for (int second = 0; second <= 600; ++second) {
    const double reading = decode(movedReading(recorded, std::chrono::seconds(second)));
    range.least = std::min(range.least, reading);
    range.most = std::max(range.most, reading);
  }
  return range;
}

TEST(ReadingMotion, StartsExactlyAtWhatTheFileSays) {
  for (const RecordedKey& each : platform::builtInLaptop().keys) {
    EXPECT_EQ(movedReading(each, 0s), each.bytes)
        << std::string(each.code.begin(), each.code.end());
  }
}

TEST(ReadingMotion, StartsAtWhatTheFileSaysAlsoForFloatsThatAreNoNumbers) {
  for (const char* code : {"TC0P", "IC0R", "PC0R"}) {
    for (const std::uint8_t sign : Bytes{0x7F, 0xFF}) {
      const RecordedKey infinite = key(code, "flt ", {0x00, 0x00, 0x80, sign});
      EXPECT_EQ(movedReading(infinite, 0s), infinite.bytes) << code << " infinite";
    }
    const RecordedKey noNumber = key(code, "flt ", {0x00, 0x00, 0xC0, 0x7F});
    EXPECT_EQ(movedReading(noNumber, 0s), noNumber.bytes) << code << " not a number";
  }
}

TEST(ReadingMotion, KeepsATemperatureNearWhatTheFileSays) {
  const RecordedKey heat = key("TC0P", "sp78", {0x28, 0x00});
  const Range range =
      rangeOf(heat, [](const Bytes& bytes) { return signedFixedPoint(bytes, 256); });
  EXPECT_GE(range.least,
            40 - 1.61);  // 0.8 degrees to either side of a middle near the file's value
  EXPECT_LE(range.most, 40 + 1.61);
  EXPECT_NEAR(range.most - range.least, 1.6, 0.05);
}

TEST(ReadingMotion, KeepsACurrentAndAPowerNearWhatTheFileSays) {
  for (const char* code : {"IC0R", "PC0R"}) {
    for (const double sign : {1.0, -1.0}) {
      const Bytes ten = sign > 0 ? Bytes{0x0A, 0x00} : Bytes{0xF6, 0x00};
      const Range range = rangeOf(key(code, "sp78", ten),
                                  [](const Bytes& bytes) { return signedFixedPoint(bytes, 256); });
      EXPECT_GE(range.least, sign * 10 - 1.21) << code;  // 6 % to either side
      EXPECT_LE(range.most, sign * 10 + 1.21) << code;
      EXPECT_NEAR(range.most - range.least, 1.2, 0.05) << code;
    }
  }
}

TEST(ReadingMotion, StaysWithinWhatTheTypeCanHold) {
  const RecordedKey highest = key("TC0P", "sp78", {0x7F, 0xFF});
  const Range range =
      rangeOf(highest, [](const Bytes& bytes) { return signedFixedPoint(bytes, 256); });
  EXPECT_GT(range.least, 120);  // never wraps to the other end
  const RecordedKey small = key("PC0R", "fp88", {0x00, 0x01});
  const Range low = rangeOf(small, [](const Bytes& bytes) { return bytes[0] * 256.0 + bytes[1]; });
  EXPECT_LE(low.most, 2);
}

TEST(ReadingMotion, IsTheSameAtTheSameTime) {
  const RecordedKey heat = key("TC0P", "sp78", {0x28, 0x00});
  EXPECT_EQ(movedReading(heat, 17s), movedReading(heat, 17s));
  EXPECT_NE(movedReading(heat, 17s), heat.bytes);
}

TEST(ReadingMotion, DiffersFromKeyToKey) {
  std::vector<std::vector<Bytes>> courses;
  for (const char* code : {"TC0P", "TC1P", "TC2P", "TG0P", "Ts0S"}) {
    const RecordedKey heat = key(code, "sp78", {0x28, 0x00});
    std::vector<Bytes> course;
    for (int second = 1; second <= 60; ++second) {
      course.push_back(movedReading(heat, std::chrono::seconds(second)));
    }
    for (const auto& other : courses) {
      EXPECT_NE(course, other) << code;
    }
    courses.push_back(course);
  }
}

TEST(ReadingMotion, LeavesEverythingElseAsItIs) {
  struct Row {
    const char* name;
    RecordedKey key;
  };
  for (const Row& row : std::vector<Row>{
           {"voltage", key("VD0R", "flt ", {0x00, 0x00, 0xA0, 0x41})},
           {"fan", key("F0Ac", "flt ", {0x00, 0x08, 0x07, 0x45})},
           {"light", key("ALSL", "fp6a", {0x10, 0x00})},
           {"motion", key("MO_X", "sp78", {0x01, 0x00})},
           {"temperature as an integer", key("TC0P", "ui16", {0x00, 0x28})},
           {"temperature as hexadecimal", key("TC0P", "hex_", {0x28, 0x00})},
           {"small letter", key("tC0P", "sp78", {0x28, 0x00})},
           {"temperature of 0", key("TC0P", "sp78", {0x00, 0x00})},
           {"power of 0", key("PC0R", "flt ", {0x00, 0x00, 0x00, 0x00})},
           {"power of -0", key("PC0R", "flt ", {0x00, 0x00, 0x00, 0x80})},
           {"no bytes", key("TC0P", "sp78", {})},
           {"no fourth character", key("TC0P", "fp2", {0x28, 0x00})},
       }) {
    for (int second = 0; second < 90; second += 7) {
      EXPECT_EQ(movedReading(row.key, std::chrono::seconds(second)), row.key.bytes) << row.name;
    }
  }
}

}  // namespace

}  // namespace halvarin::test
