#pragma once

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

#include "platform/Clock.h"

// How a simulated fan behaves: plain functions of values. Speeds are in RPM.

namespace halvarin::platform {

/// A fan that is not healthy. A fan may have several faults.
struct FanFault {
  enum class Kind : std::uint8_t {
    stalled,  // its speed is exactly 0 from the machine's first transfer on
    slow,     // its time constant is 30 s
    weak,     // it reaches half of its range
    deaf,     // its keys take the commands, its motor stays under automatic control
  };
  std::uint32_t fan = 0;
  Kind kind = Kind::stalled;
};

/// What a fan can do.
struct FanTraits {
  double minRpm = 0;
  double maxRpm = 6000;
  bool turns = true;
  double reachableRpm = std::numeric_limits<double>::infinity();
  std::chrono::duration<double> timeConstant{2};
  bool obeys = true;  // false: the motor takes no commands
};

/// The traits of a fan whose keys hold this least and highest speed; absent ones read 0 and 6000,
/// and a highest below the least reads as the least.
[[nodiscard]] FanTraits fanTraits(std::optional<double> minRpm, std::optional<double> maxRpm,
                                  std::uint32_t fan, std::span<const FanFault> faults);

/// What automatic control wants of a fan that began at `startRpm`, once the machine is warmer by so
/// many degrees. Exactly the start when it is not. A fan that began below its least speed stays
/// there until more than the least is wanted.
[[nodiscard]] double automaticRpm(const FanTraits& traits, double startRpm, double warmerDegrees);

/// Where the motor tends to: the command, where there is one and it obeys, else the automatic
/// speed; within what it reaches, and never below 0.
[[nodiscard]] double motorGoalRpm(const FanTraits& traits, double automaticRpm,
                                  std::optional<double> commandRpm);

struct FanMotor {
  double speedRpm = 0;
  double goalRpm = 0;

  friend bool operator==(const FanMotor&, const FanMotor&) = default;
};

/// The motor after this time: its distance to the goal falls to 1/e in each time constant.
[[nodiscard]] FanMotor movedMotor(FanMotor motor, const FanTraits& traits, Clock::Duration time);

}  // namespace halvarin::platform
