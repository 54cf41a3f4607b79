#pragma once

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/unit/platform/SimulatedMachineBench.h"

// A simulated machine with fans on the bench. The types of the speeds are written by hand here.

namespace halvarin::test {

inline Bytes fpe2(double rpm) {
  const auto raw = static_cast<std::uint32_t>(std::lround(rpm * 4));
  return {static_cast<std::uint8_t>(raw >> 8U), static_cast<std::uint8_t>(raw)};
}

inline Bytes flt(double number) {
  const auto raw = std::bit_cast<std::uint32_t>(static_cast<float>(number));
  return {static_cast<std::uint8_t>(raw), static_cast<std::uint8_t>(raw >> 8U),
          static_cast<std::uint8_t>(raw >> 16U), static_cast<std::uint8_t>(raw >> 24U)};
}

inline Bytes speed(std::string_view type, double rpm) {
  return type == "flt " ? flt(rpm) : fpe2(rpm);
}

/// What a reader makes of the bytes.
inline double readSpeed(std::string_view type, const Bytes& bytes) {
  if (type == "flt ") {
    return std::bit_cast<float>(
        static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8U |
        static_cast<std::uint32_t>(bytes[2]) << 16U | static_cast<std::uint32_t>(bytes[3]) << 24U);
  }
  const int high = bytes[0] * 256 + bytes[1];
  const int low = bytes[1] * 256 + bytes[0];
  return (type == "ui16" ? std::min(high, low) : high) / 4.0;
}

inline Bytes degreesBytes(double degrees) {
  const auto raw = static_cast<std::uint32_t>(std::lround(degrees * 256));
  return {static_cast<std::uint8_t>(raw >> 8U), static_cast<std::uint8_t>(raw)};
}

using Keys = std::vector<platform::RecordedKey>;

inline Keys operator+(Keys left, const Keys& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

struct FanSpeeds {
  double actual = 2000;
  double target = 2000;
  double min = 1200;
  double max = 5200;  // 100 RPM for each degree
};

inline Keys fanKeys(int number, const char* type = "fpe2", const FanSpeeds& speeds = {}) {
  const std::string fan = "F" + std::to_string(number);
  return {key(fan + "Ac", type, speed(type, speeds.actual)),
          key(fan + "Mn", type, speed(type, speeds.min)),
          key(fan + "Mx", type, speed(type, speeds.max)),
          key(fan + "Tg", type, speed(type, speeds.target))};
}

inline Keys heat(double degrees = 50) {
  return {key("TC0P", "sp78", degreesBytes(degrees))};
}

/// The ways to force fans that a machine may have.
inline Keys forceBits(std::uint8_t low = 0) {
  return {key("FS! ", "ui16", {0, low})};
}
inline Keys mode(const char* code, std::uint8_t value = 0) {
  return {key(code, "ui8 ", {value})};
}
inline Keys testFlag(std::uint8_t value = 0) {
  return {key("Ftst", "ui8 ", {value})};
}

/// A machine with fans, whose first transfer has been made.
struct FanBench : Bench {
  explicit FanBench(Keys keys, platform::Simulation simulation = {})
      : Bench(std::move(simulation), machineWith(std::move(keys))) {
    read("#KEY", 4);
  }

  double rpm(std::string_view code, std::string_view type = "fpe2") {
    return readSpeed(type, read(code, type == "flt " ? 4 : 2));
  }
  void write(std::string_view code, const Bytes& bytes) {
    const Answer answer =
        send(request(kWrite, code, static_cast<std::uint32_t>(bytes.size()), bytes));
    EXPECT_EQ(answer.status, 0) << code;
    EXPECT_EQ(answer.result(), 0) << code;
  }
  /// Makes the machine hotter; the fans begin to answer at once.
  void setHeat(double degrees) { EXPECT_TRUE(machine->setReading("TC0P", degrees)); }
  /// Long enough for every motor to be where it tends to.
  void settle() { clock->advance(std::chrono::minutes(10)); }
};

inline platform::Simulation withFault(platform::FanFault::Kind kind, std::uint32_t fan = 0) {
  platform::Simulation simulation;
  simulation.fanFaults = {{fan, kind}};
  return simulation;
}

}  // namespace halvarin::test
