#include "platform/machine/fans/FanForce.h"

#include <algorithm>

#include "platform/machine/fans/FanKeys.h"

namespace halvarin::platform {

namespace {

using Bytes = std::vector<std::uint8_t>;

bool isSet(const Bytes& bytes) {
  return std::any_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte != 0; });
}

/// A bit of a number whose high byte comes first.
bool hasBit(const Bytes& bytes, std::size_t bit) {
  const std::size_t fromEnd = bit / 8;
  const std::uint32_t mask = 1U << (bit % 8);
  return fromEnd < bytes.size() && (bytes[bytes.size() - 1 - fromEnd] & mask) != 0;
}

bool hasNewBits(const Bytes& before, const Bytes& after) {
  for (std::size_t bit = 0; bit < 8 * after.size(); ++bit) {
    if (hasBit(after, bit) && !hasBit(before, bit)) {
      return true;
    }
  }
  return false;
}

RecordedKey* modeKey(KeyTable& keys, std::uint32_t fan) {
  for (const char* spelling : {"Md", "md"}) {
    RecordedKey* key = keys.find(fanKey(fan, spelling));
    if (key != nullptr && key->sizeBytes == 1) {
      return key;
    }
  }
  return nullptr;
}

}  // namespace

FanForce::FanForce(KeyTable& keys, std::span<const std::uint32_t> fans)
    : keys_(keys), bits_(keys.find(fourBytes("FS! "))), test_(keys.find(fourBytes("Ftst"))) {
  for (const std::uint32_t fan : fans) {
    if (RecordedKey* key = modeKey(keys, fan)) {
      modes_[fan] = key;
    }
  }
}

bool FanForce::isForced(std::uint32_t fan) const {
  if (!mayForce()) {
    return false;
  }
  const auto mode = modes_.find(fan);
  return (mode != modes_.end() && isSet(mode->second->bytes)) ||
         (bits_ != nullptr && hasBit(bits_->bytes, fan));
}

void FanForce::keyWritten(RecordedKey& key, const Bytes& before) {
  keySet(key, before);
  if (mayForce()) {
    return;
  }
  if (&key == bits_ && hasNewBits(before, key.bytes)) {
    key.bytes = before;
  } else if (isMode(key)) {
    key.bytes.assign(key.bytes.size(), 0);
  }
}

void FanForce::keySet(const RecordedKey& key, const Bytes& before) {
  if (&key == test_ && isSet(before) && !isSet(key.bytes)) {
    dropAll();
  }
}

bool FanForce::mayForce() const {
  return test_ == nullptr || isSet(test_->bytes);
}

bool FanForce::isMode(const RecordedKey& key) const {
  return std::any_of(modes_.begin(), modes_.end(),
                     [&](const auto& mode) { return mode.second == &key; });
}

void FanForce::dropAll() {
  const auto drop = [this](RecordedKey& key) {
    if (!keys_.isHeld(key.code)) {
      key.bytes.assign(key.bytes.size(), 0);
    }
  };
  for (const auto& mode : modes_) {
    drop(*mode.second);
  }
  if (bits_ != nullptr) {
    drop(*bits_);
  }
}

}  // namespace halvarin::platform
