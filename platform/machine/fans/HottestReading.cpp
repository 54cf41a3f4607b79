#include "platform/machine/fans/HottestReading.h"

#include <algorithm>

#include "platform/machine/ReadingCodec.h"
#include "platform/machine/ReadingMotion.h"

namespace halvarin::platform {

namespace {

// Readings swing by a few hundredths of a degree in this time; looking at all of them at every
// transfer would make transfers slow.
constexpr Clock::Duration kLookAgainAfter = std::chrono::milliseconds(50);

// Readings outside are codes, distances to a limit or parts that are off.
constexpr double kColdestDegrees = 0;
constexpr double kHottestDegrees = 150;

}  // namespace

HottestReading::HottestReading(const KeyTable& keys, bool readingsMove)
    : keys_(keys), readingsMove_(readingsMove) {
  for (const RecordedKey& key : keys.keys()) {
    if (key.code[0] == 'T') {
      temperatures_.push_back(&key);
    }
  }
}

std::optional<double> HottestReading::at(Clock::Duration time) {
  if (isDue(time)) {
    hottest_.reset();
    for (const RecordedKey* key : temperatures_) {
      const auto reading = readingOf(*key, time);
      // A reading that is no number fails both comparisons.
      if (reading && *reading > kColdestDegrees && *reading < kHottestDegrees) {
        hottest_ = std::max(hottest_.value_or(*reading), *reading);
      }
    }
    isKnown_ = true;
    knownSince_ = time;
  }
  return hottest_;
}

void HottestReading::keyChanged() {
  isKnown_ = false;
}

std::optional<double> HottestReading::readingOf(const RecordedKey& key,
                                                Clock::Duration time) const {
  if (key.result != kResultOk || key.status != 0) {
    return std::nullopt;
  }
  return readingsMove_ && !keys_.isHeld(key.code) ? decodeReal(key.type, movedReading(key, time))
                                                  : decodeReal(key.type, key.bytes);
}

bool HottestReading::isDue(Clock::Duration time) const {
  return !isKnown_ || (readingsMove_ && time - knownSince_ >= kLookAgainAfter);
}

}  // namespace halvarin::platform
