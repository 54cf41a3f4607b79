#include "host/fans/FanControl.h"

#include <utility>

#include "host/Exit.h"
#include "host/fans/FanRelease.h"

namespace halvarin::host {

FanControl::FanControl(std::shared_ptr<QXHalvarin> facade, std::unique_ptr<FanGuard> guard,
                       MachineOption::Kind machine)
    : facade_(std::move(facade)), machine_(machine), guard_(std::move(guard)) {}

FanControl::~FanControl() {
  try {
    handBackAtLast();
  } catch (...) {
    // The guardian, which has not been told to forget the fan, hands it back.
    return;
  }
}

bool FanControl::force(std::uint32_t fan, std::uint16_t speedRpm) {
  const MutexLock lock(mutex_);
  if (ended_) {
    return false;
  }
  if (command(fan, speedRpm)) {
    return true;
  }
  if (!handBackNow() && isForbidden(fan)) {
    forgetAll();
  }
  return false;
}

// The guardian is told before the machine, so that there is no moment at which a fan is forced and
// nobody but this program knows. A write that failed may have been done all the same.
bool FanControl::command(std::uint32_t fan, std::uint16_t speedRpm) {
  if (hasTestFlag()) {
    if (guard_ && !guard_->testFlagIsOn()) {
      return false;
    }
    forced_.testFlag = true;
    if (!facade_->setFanEnable(true)) {
      return false;
    }
    isWritten_ = true;
  }
  if (guard_ && !guard_->fanIsForced(fan)) {
    return false;
  }
  forced_.fans.push_back(fan);
  if (!isControlRead(fan) || !facade_->setFanMode(1, fan)) {
    return false;
  }
  isWritten_ = true;
  return facade_->setFanSpeed(speedRpm, fan);
}

/// Whether the system has stopped the writes that force a fan before they reached the machine.
/// Where one of them was done before the rights were gone, the fan may be forced all the same.
bool FanControl::isForbidden(std::uint32_t fan) {
  return !isWritten_ && exitFor(controlStatus(fan)) == Exit::notPermitted;
}

bool FanControl::handBack() {
  const MutexLock lock(mutex_);
  ended_ = true;
  return handBackNow();
}

bool FanControl::handBackAtLast() {
  const MutexLock lock(mutex_);
  ended_ = true;
  if (handBackNow()) {
    return true;
  }
  const bool isTried = std::exchange(isTriedAtLast_, true);
  if (isTried || !isGuardDead() || !handBackPersistently(*facade_, forced_, machine_)) {
    return false;
  }
  forgetAll();
  return true;
}

/// A hand-back that was refused is none the less done where this process sees that no fan is
/// forced: the command that was to force it was refused, too.
bool FanControl::handBackNow() {
  const bool isDone = handBackFans(*facade_, forced_) ||
                      (areSeenAutomatic(forced_.fans) && !(forced_.testFlag && testFlagMayBeOn()));
  if (!isDone) {
    return false;
  }
  forgetAll();
  return true;
}

void FanControl::forgetAll() {
  forced_ = {};
  isWritten_ = false;
  if (guard_) {
    guard_->forget();
  }
}

bool FanControl::leave() {
  const MutexLock lock(mutex_);
  if (ended_) {
    return false;
  }
  ended_ = true;
  forgetAll();
  return true;
}

bool FanControl::isGuarded() {
  const MutexLock lock(mutex_);
  return !isGuardDead();
}

bool FanControl::isGuardDead() {
  return guard_ && guard_->hasEnded();
}

}  // namespace halvarin::host
