#pragma once

#include <optional>
#include <vector>

#include "platform/Clock.h"
#include "platform/machine/KeyTable.h"

namespace halvarin::platform {

/// How hot a machine is, by its own temperature keys. Looks at them again only when it must. Not
/// thread-safe: its machine guards it. Lives no longer than the table.
class HottestReading {
 public:
  HottestReading(const KeyTable& keys, bool readingsMove);

  /// The highest reading, in degrees, of the keys that begin with "T", hold a float or fixed-point
  /// number above 0 and below 150, and can be read; absent when there is none. On a machine whose
  /// readings move it is up to 50 ms of the machine's time old.
  [[nodiscard]] std::optional<double> at(Clock::Duration time);

  /// To be called when a temperature key has changed.
  void keyChanged();

 private:
  [[nodiscard]] std::optional<double> readingOf(const RecordedKey& key, Clock::Duration time) const;
  [[nodiscard]] bool isDue(Clock::Duration time) const;

  const KeyTable& keys_;
  const bool readingsMove_;
  std::vector<const RecordedKey*> temperatures_;
  bool isKnown_ = false;
  std::optional<double> hottest_;
  Clock::Duration knownSince_{0};
};

}  // namespace halvarin::platform
