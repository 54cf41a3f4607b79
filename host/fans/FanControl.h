#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/Mutex.h"
#include "host/MachineOption.h"
#include "host/fans/FanGuard.h"
#include "sensors/QXHalvarin.h"

namespace halvarin::host {

/// Forces fans for the program and answers for their release. Any thread.
class FanControl {
 public:
  /// `guard` is null on machines that end with the program.
  FanControl(std::shared_ptr<QXHalvarin> facade, std::unique_ptr<FanGuard> guard,
             MachineOption::Kind machine);
  /// Hands back what is still forced, as `handBackAtLast` does unless that has tried already.
  ~FanControl();
  FanControl(const FanControl&) = delete;
  FanControl& operator=(const FanControl&) = delete;

  /// Switches the test flag on where there is one, forces the fan and sets its target. False, with
  /// everything handed back, when one of the commands did not work; also after `handBack`.
  [[nodiscard]] bool force(std::uint32_t fan, std::uint16_t speedRpm);

  /// Hands back what was forced; from then on nothing is forced any more. False when that did not
  /// work; may be called again.
  bool handBack();

  /// The same with as many tries as the guardian would make, where there was one and it is dead:
  /// for up to five minutes then.
  bool handBackAtLast();

  /// Leaves the fans forced for good. False when they have been handed back already.
  [[nodiscard]] bool leave();

  /// Whether the fans would be handed back if the program ended now without doing so.
  [[nodiscard]] bool isGuarded();

 private:
  [[nodiscard]] bool command(std::uint32_t fan, std::uint16_t speedRpm) HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] bool isForbidden(std::uint32_t fan) HALVARIN_REQUIRES(mutex_);
  void forgetAll() HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] bool handBackNow() HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] bool isGuardDead() HALVARIN_REQUIRES(mutex_);

  const std::shared_ptr<QXHalvarin> facade_;
  const MachineOption::Kind machine_;
  Mutex mutex_;
  const std::unique_ptr<FanGuard> guard_ HALVARIN_GUARDED_BY(mutex_);
  GuardedFans forced_ HALVARIN_GUARDED_BY(mutex_);
  bool isWritten_ HALVARIN_GUARDED_BY(mutex_) = false;  // a key, since nothing was forced
  bool ended_ HALVARIN_GUARDED_BY(mutex_) = false;
  bool isTriedAtLast_ HALVARIN_GUARDED_BY(mutex_) = false;
};

}  // namespace halvarin::host
