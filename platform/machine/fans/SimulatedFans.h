#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/Clock.h"
#include "platform/machine/KeyTable.h"
#include "platform/machine/fans/FanForce.h"
#include "platform/machine/fans/FanModel.h"
#include "platform/machine/fans/HottestReading.h"

namespace halvarin::platform {

/// The fans of a simulated machine: they turn in the machine's time, and the keys of the table show
/// it. They move only when asked to. Keys that are held keep their bytes;
/// a written actual speed stays until the motor moves. Not thread-safe: its
/// machine guards it. Lives no longer than the table.
class SimulatedFans {
 public:
  SimulatedFans(KeyTable& keys, std::span<const FanFault> faults, bool readingsMove);

  /// Takes speeds, targets, ranges and the hottest reading as they stand: the machine's first
  /// transfer. Before it nothing moves.
  void begin(Clock::Duration time);

  /// Whether what the key reads may depend on the time.
  [[nodiscard]] bool move(const FourBytes& code) const;

  /// Brings the fans and their keys to this time. To be called before a key that they move is read
  /// and before any key is changed.
  void moveTo(Clock::Duration time);

  /// To be called after a host has written a key, and after its reading was set from outside.
  /// `before` is what it held.
  void keyWritten(RecordedKey& key, const std::vector<std::uint8_t>& before);
  void keySet(const RecordedKey& key, const std::vector<std::uint8_t>& before);

 private:
  struct Fan {
    std::uint32_t number = 0;
    RecordedKey* actual = nullptr;
    RecordedKey* target = nullptr;  // null: it takes no commands
    FanTraits traits{};
    double startRpm = 0;
    double startTargetRpm = 0;
    std::vector<std::uint8_t> startTarget{};      // as the key held it
    std::vector<std::uint8_t> automaticTarget{};  // what the controller itself wants now
    bool isForced = false;
    FanMotor motor{};
    double shownRpm = 0;  // what the key of the actual speed stands for
  };

  void begin(Fan& fan);
  void stall(Fan& fan);
  void keyChanged(const RecordedKey& key);
  void command();
  void command(Fan& fan, double warmerDegrees);
  void showTarget(Fan& fan, double warmerDegrees);
  void showSpeed(Fan& fan);

  KeyTable& keys_;
  const std::vector<FanFault> faults_;
  std::vector<Fan> fans_;
  FanForce force_;
  HottestReading hottest_;
  bool hasBegun_ = false;
  std::optional<double> hottestAtFirst_;
  std::optional<double> hottestNow_;  // by which the fans are commanded
  Clock::Duration time_{0};
};

}  // namespace halvarin::platform
