#include "platform/machine/fans/FanKeys.h"

#include <algorithm>
#include <cmath>

#include "platform/machine/ReadingCodec.h"

namespace halvarin::platform {

namespace {

constexpr std::string_view kFanCharacters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
static_assert(kFanCharacters.size() == kMostFans);

constexpr double kQuartersOfARevolution = 4;  // what an integer key counts in a minute

bool isQuarters(const RecordedKey& key) {
  return key.type == fourBytes("ui16");
}

}  // namespace

FourBytes fanKey(std::uint32_t fan, std::string_view what) {
  return {'F', kFanCharacters[fan], what[0], what[1]};
}

bool holdsSpeed(const RecordedKey& key) {
  const bool isShort = key.type == fourBytes("fpe2") || isQuarters(key);
  return isShort ? key.sizeBytes == 2 : key.type == fourBytes("flt ") && key.sizeBytes == 4;
}

std::optional<double> heldSpeed(const RecordedKey& key) {
  if (!holdsSpeed(key) || key.bytes.size() != key.sizeBytes) {
    return std::nullopt;
  }
  if (isQuarters(key)) {
    return (key.bytes[0] * 256 + key.bytes[1]) / kQuartersOfARevolution;
  }
  const auto speed = decodeReal(key.type, key.bytes);
  return speed && std::isfinite(*speed) ? speed : std::nullopt;
}

std::vector<std::uint8_t> speedBytes(const RecordedKey& key, double rpm) {
  const double number = isQuarters(key) ? rpm * kQuartersOfARevolution : rpm;
  return encodeReading(key.type, key.sizeBytes, number).value_or(key.bytes);
}

std::vector<std::uint32_t> simulatedFans(const std::vector<RecordedKey>& keys) {
  std::vector<std::uint32_t> fans;
  for (const RecordedKey& key : keys) {
    const std::size_t fan = kFanCharacters.find(key.code[1]);
    const bool isSpeed = key.code[0] == 'F' && key.code[2] == 'A' && key.code[3] == 'c';
    if (isSpeed && fan != std::string_view::npos && holdsSpeed(key)) {
      fans.push_back(static_cast<std::uint32_t>(fan));
    }
  }
  std::sort(fans.begin(), fans.end());
  return fans;
}

}  // namespace halvarin::platform
