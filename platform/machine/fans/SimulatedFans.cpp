#include "platform/machine/fans/SimulatedFans.h"

#include <algorithm>

#include "platform/machine/fans/FanKeys.h"

namespace halvarin::platform {

namespace {

using Bytes = std::vector<std::uint8_t>;

std::optional<double> speedOf(KeyTable& keys, std::uint32_t fan, const char* what) {
  const RecordedKey* key = keys.find(fanKey(fan, what));
  return key != nullptr ? heldSpeed(*key) : std::nullopt;
}

}  // namespace

SimulatedFans::SimulatedFans(KeyTable& keys, std::span<const FanFault> faults, bool readingsMove)
    : keys_(keys),
      faults_(faults.begin(), faults.end()),
      force_(keys, simulatedFans(keys.keys())),
      hottest_(keys, readingsMove) {
  for (const std::uint32_t number : simulatedFans(keys.keys())) {
    Fan fan;
    fan.number = number;
    fan.actual = keys.find(fanKey(number, "Ac"));
    RecordedKey* target = keys.find(fanKey(number, "Tg"));
    fan.target = target != nullptr && holdsSpeed(*target) ? target : nullptr;
    fans_.push_back(std::move(fan));
  }
}

void SimulatedFans::begin(Clock::Duration time) {
  if (fans_.empty()) {
    return;
  }
  hasBegun_ = true;
  time_ = time;
  hottestAtFirst_ = hottest_.at(time);
  hottestNow_ = hottestAtFirst_;
  for (Fan& fan : fans_) {
    begin(fan);
  }
  command();
}

void SimulatedFans::begin(Fan& fan) {
  fan.traits = fanTraits(speedOf(keys_, fan.number, "Mn"), speedOf(keys_, fan.number, "Mx"),
                         fan.number, faults_);
  fan.startRpm = std::max(0.0, heldSpeed(*fan.actual).value_or(0));
  fan.startTargetRpm = fan.startRpm;
  if (fan.target != nullptr) {
    fan.startTarget = fan.target->bytes;
    fan.automaticTarget = fan.target->bytes;
    fan.startTargetRpm = std::max(0.0, heldSpeed(*fan.target).value_or(fan.startRpm));
  }
  fan.isForced = force_.isForced(fan.number);
  fan.shownRpm = fan.startRpm;
  fan.motor = {fan.startRpm, fan.startRpm};
  if (!fan.traits.turns) {
    stall(fan);
  }
}

void SimulatedFans::stall(Fan& fan) {
  fan.motor = {};
  fan.shownRpm = 0;
  if (!keys_.isHeld(fan.actual->code)) {
    fan.actual->bytes = speedBytes(*fan.actual, 0);
  }
}

bool SimulatedFans::move(const FourBytes& code) const {
  return hasBegun_ && code[0] == 'F';
}

void SimulatedFans::moveTo(Clock::Duration time) {
  if (!hasBegun_) {
    return;
  }
  // What the heat wants now holds for the time since the last look: the hottest reading changes
  // slowly, or at a moment to which the fans were moved before.
  if (const auto hottest = hottest_.at(time); hottest != hottestNow_) {
    hottestNow_ = hottest;
    command();
  }
  for (Fan& fan : fans_) {
    fan.motor = movedMotor(fan.motor, fan.traits, time - time_);
    showSpeed(fan);
  }
  time_ = time;
}

void SimulatedFans::keyWritten(RecordedKey& key, const Bytes& before) {
  force_.keyWritten(key, before);
  keyChanged(key);
}

void SimulatedFans::keySet(const RecordedKey& key, const Bytes& before) {
  force_.keySet(key, before);
  keyChanged(key);
}

void SimulatedFans::keyChanged(const RecordedKey& key) {
  if (key.code[0] == 'T') {
    hottest_.keyChanged();
  }
  if (hasBegun_ && (key.code[0] == 'T' || key.code[0] == 'F')) {
    hottestNow_ = hottest_.at(time_);
    command();
  }
}

void SimulatedFans::command() {
  const double warmer = hottestNow_ && hottestAtFirst_ ? *hottestNow_ - *hottestAtFirst_ : 0;
  for (Fan& fan : fans_) {
    command(fan, warmer);
  }
}

void SimulatedFans::command(Fan& fan, double warmerDegrees) {
  showTarget(fan, warmerDegrees);
  const bool obeysTarget = fan.isForced && fan.target != nullptr;
  fan.motor.goalRpm =
      motorGoalRpm(fan.traits, automaticRpm(fan.traits, fan.startRpm, warmerDegrees),
                   obeysTarget ? heldSpeed(*fan.target) : std::nullopt);
}

void SimulatedFans::showTarget(Fan& fan, double warmerDegrees) {
  const bool isForced = force_.isForced(fan.number);
  const bool isHandedBack = fan.isForced && !isForced;
  fan.isForced = isForced;
  if (fan.target == nullptr) {
    return;
  }
  const double wanted = automaticRpm(fan.traits, fan.startTargetRpm, warmerDegrees);
  Bytes target = wanted == fan.startTargetRpm ? fan.startTarget : speedBytes(*fan.target, wanted);
  const bool hasMoved = target != fan.automaticTarget;
  fan.automaticTarget = std::move(target);
  if (!isForced && (hasMoved || isHandedBack) && !keys_.isHeld(fan.target->code)) {
    fan.target->bytes = fan.automaticTarget;
  }
}

void SimulatedFans::showSpeed(Fan& fan) {
  if (fan.motor.speedRpm == fan.shownRpm || keys_.isHeld(fan.actual->code)) {
    return;
  }
  fan.shownRpm = fan.motor.speedRpm;
  fan.actual->bytes = speedBytes(*fan.actual, fan.shownRpm);
}

}  // namespace halvarin::platform
