#include "platform/machine/fans/FanModel.h"

#include <algorithm>
#include <cmath>

namespace halvarin::platform {

namespace {

constexpr double kUnknownMinRpm = 0;
constexpr double kUnknownMaxRpm = 6000;  // about what laptops' fans reach
constexpr std::chrono::duration<double> kSlowTimeConstant{30};
// From a laptop at rest (near 50 degrees) to one that runs as hot as it may (near 90).
constexpr double kDegreesForFullRange = 40;

void apply(FanFault::Kind kind, FanTraits& traits) {
  switch (kind) {
    case FanFault::Kind::stalled:
      traits.turns = false;
      break;
    case FanFault::Kind::slow:
      traits.timeConstant = kSlowTimeConstant;
      break;
    case FanFault::Kind::weak:
      traits.reachableRpm =
          std::min(traits.reachableRpm, traits.minRpm + (traits.maxRpm - traits.minRpm) / 2);
      break;
    case FanFault::Kind::deaf:
      traits.obeys = false;
      break;
  }
}

}  // namespace

FanTraits fanTraits(std::optional<double> minRpm, std::optional<double> maxRpm, std::uint32_t fan,
                    std::span<const FanFault> faults) {
  FanTraits traits;
  traits.minRpm = std::max(0.0, minRpm.value_or(kUnknownMinRpm));
  traits.maxRpm = std::max(traits.minRpm, maxRpm.value_or(kUnknownMaxRpm));
  for (const FanFault& fault : faults) {
    if (fault.fan == fan) {
      apply(fault.kind, traits);
    }
  }
  return traits;
}

double automaticRpm(const FanTraits& traits, double startRpm, double warmerDegrees) {
  if (warmerDegrees == 0) {
    return startRpm;
  }
  const double perDegree = (traits.maxRpm - traits.minRpm) / kDegreesForFullRange;
  const double wanted = std::clamp(startRpm + warmerDegrees * perDegree, 0.0, traits.maxRpm);
  return wanted < traits.minRpm ? std::min(startRpm, traits.minRpm) : wanted;
}

double motorGoalRpm(const FanTraits& traits, double automaticRpm,
                    std::optional<double> commandRpm) {
  const double wanted = traits.obeys ? commandRpm.value_or(automaticRpm) : automaticRpm;
  return traits.turns ? std::clamp(wanted, 0.0, traits.reachableRpm) : 0;
}

FanMotor movedMotor(FanMotor motor, const FanTraits& traits, Clock::Duration time) {
  const double share = std::exp(-(std::chrono::duration<double>(time) / traits.timeConstant));
  motor.speedRpm = std::max(0.0, motor.goalRpm + (motor.speedRpm - motor.goalRpm) * share);
  return motor;
}

}  // namespace halvarin::platform
