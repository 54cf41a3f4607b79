#include "platform/machine/linux/FanFileKeys.h"

#include <cerrno>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/machine/fans/FanKeys.h"
#include "platform/machine/linux/FanKeyName.h"

namespace halvarin::platform {

namespace {

constexpr std::uint32_t kQuartersInAKey = 4;  // keys of two bytes count quarters of a revolution

std::string bigEndian(std::uint32_t number, std::uint32_t sizeBytes) {
  std::string bytes;
  for (std::uint32_t i = sizeBytes; i > 0; --i) {
    bytes.push_back(static_cast<char>(number >> (8 * (i - 1))));
  }
  return bytes;
}

std::optional<FanFiles::Speed> speedNamed(const FanKeyName& name) {
  using Speed = FanFiles::Speed;
  if (name.isOf("Ac")) {
    return Speed::actual;
  }
  if (name.isOf("Tg")) {
    return Speed::target;
  }
  if (name.isOf("Mn")) {
    return Speed::least;
  }
  return name.isOf("Mx") ? std::optional(Speed::most) : std::nullopt;
}

int readSpeedKey(const FanFiles& fans, const KeyFacts& facts, std::uint32_t fan,
                 FanFiles::Speed which, std::string& bytes) {
  RecordedKey key;
  key.type = facts.type;
  key.sizeBytes = facts.sizeBytes;
  if (!holdsSpeed(key)) {
    return ENOTSUP;
  }
  std::uint32_t rpm = 0;
  if (const int error = fans.readSpeed(fan, which, rpm)) {
    return error;
  }
  if (facts.sizeBytes == 2) {
    bytes = bigEndian(rpm * kQuartersInAKey, 2);
    return 0;
  }
  const std::vector<std::uint8_t> held = speedBytes(key, rpm);
  bytes.assign(held.begin(), held.end());
  return 0;
}

}  // namespace

int readFanKey(const FanFiles& fans, const KeyFacts& facts, std::string& bytes) {
  std::uint32_t number = 0;
  int error = ENOTSUP;
  if (facts.code == fourBytes("FS! ") && facts.sizeBytes == 2) {
    error = fans.readForceBits(number);
  } else if (facts.code == fourBytes("FNum") && facts.sizeBytes == 1) {
    error = fans.countFans(number);
  } else if (const auto name = fanKeyName(facts.code)) {
    if (const auto speed = speedNamed(*name)) {
      return readSpeedKey(fans, facts, name->fan, *speed, bytes);
    }
    bool forced = false;
    error = name->isOf("Md") && facts.sizeBytes == 1 ? fans.readForced(name->fan, forced) : ENOTSUP;
    number = forced ? 1 : 0;
  }
  if (error == 0) {
    bytes = bigEndian(number, facts.sizeBytes);
  }
  return error;
}

}  // namespace halvarin::platform
