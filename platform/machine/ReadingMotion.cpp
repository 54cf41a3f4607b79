#include "platform/machine/ReadingMotion.h"

#include <cmath>
#include <numbers>

#include "platform/machine/ReadingCodec.h"

namespace halvarin::platform {

namespace {

struct Swing {
  double phase;          // radians; differs from key to key, so that they do not move as one
  double periodSeconds;  // a few minutes of working life
};

Swing swingOf(const FourBytes& code) {
  unsigned mixed = 0;
  for (const char character : code) {
    mixed = mixed * 31 + static_cast<unsigned char>(character);
  }
  const double unit = static_cast<double>(mixed % 97) / 97.0;
  return {2 * std::numbers::pi * unit, 40.0 + 50.0 * unit};
}

/// How far a reading swings to either side.
double amplitude(const FourBytes& code, double reading) {
  constexpr double kNoSensor = -100;         // -127 and its like are codes, not temperatures
  constexpr double kTemperatureSwing = 0.8;  // degrees: what a steady load shows
  constexpr double kLoadShare = 0.06;        // of a current or a power
  switch (code[0]) {
    case 'T':
      return reading < kNoSensor ? 0 : kTemperatureSwing;
    case 'I':
    case 'P':
      return kLoadShare * std::abs(reading);
    default:
      return 0;
  }
}

}  // namespace

std::vector<std::uint8_t> movedReading(const RecordedKey& key, Clock::Duration time) {
  const auto reading = decodeReal(key.type, key.bytes);
  if (!reading || *reading == 0 || !std::isfinite(*reading)) {
    return key.bytes;
  }
  const double swing = amplitude(key.code, *reading);
  if (swing == 0) {
    return key.bytes;
  }
  const double seconds = std::chrono::duration<double>(time).count();
  const auto [phase, period] = swingOf(key.code);
  const double angle = 2 * std::numbers::pi * seconds / period;
  const double moved = *reading + swing * (std::sin(angle + phase) - std::sin(phase));
  return encodeReading(key.type, key.sizeBytes, moved).value_or(key.bytes);
}

}  // namespace halvarin::platform
