#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Mutex.h"
#include "host/fans/FanGuard.h"
#include "sensors/QXHalvarin.h"

namespace halvarin::host {

/// Whether any fan of the machine is forced, those of a list left out.
[[nodiscard]] bool anotherIsForced(QXHalvarin& facade, const std::vector<std::uint32_t>& own);

/// Hands fans back to automatic control, by their keys alone where the facade refuses, then
/// switches the test flag off if asked to and if no other fan is forced. True when all of it was
/// written and the fans, read again, are not forced any more.
[[nodiscard]] bool handBackFans(QXHalvarin& facade, const GuardedFans& forced);

/// Whether this process knows the key by which the fan is handed back. A key that could not be
/// listed at its start, for the controller was busy, stays unknown to it.
[[nodiscard]] bool canHandBack(std::uint32_t fan);

/// Tells the library that the program is about to end, which a host that forced fans owes it. On
/// machines with force bits the library then clears them all, also those of others, so it is not
/// told while others hold a fan.
void endFanUse(QXHalvarin& facade);

/// Whether the machine wants its test flag on before a fan is forced.
[[nodiscard]] bool hasTestFlag();

/// Whether the test flag is on, or may be for all that can be read.
[[nodiscard]] bool testFlagMayBeOn();

/// Why a command did not work: the status of the platform for one of the keys that it writes, found
/// by writing what the key holds already. Absent when nothing stands in the way any more.
[[nodiscard]] std::optional<std::int32_t> fanCommandStatus(std::uint32_t fan);

/// Forces fans for the program and answers for their release. Any thread.
class FanControl {
 public:
  FanControl(std::shared_ptr<QXHalvarin> facade, std::unique_ptr<FanGuard> guard);
  /// Hands back what is still forced.
  ~FanControl();
  FanControl(const FanControl&) = delete;
  FanControl& operator=(const FanControl&) = delete;

  /// Switches the test flag on where there is one, forces the fan and sets its target. False, with
  /// everything handed back, when one of the commands did not work; also after `handBack`.
  [[nodiscard]] bool force(std::uint32_t fan, std::uint16_t speedRpm);

  /// Hands back what was forced; from then on nothing is forced any more. False when that did not
  /// work; may be called again.
  bool handBack();

  /// Leaves the fans forced for good. False when they have been handed back already.
  [[nodiscard]] bool leave();

  /// Whether the fans would be handed back if the program ended now without doing so.
  [[nodiscard]] bool isGuarded();

 private:
  [[nodiscard]] bool command(std::uint32_t fan, std::uint16_t speedRpm) HALVARIN_REQUIRES(mutex_);
  void undo(std::uint32_t fan) HALVARIN_REQUIRES(mutex_);
  void forgetAll() HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] bool handBackNow() HALVARIN_REQUIRES(mutex_);

  const std::shared_ptr<QXHalvarin> facade_;
  Mutex mutex_;
  const std::unique_ptr<FanGuard> guard_ HALVARIN_GUARDED_BY(mutex_);
  GuardedFans forced_ HALVARIN_GUARDED_BY(mutex_);
  bool ended_ HALVARIN_GUARDED_BY(mutex_) = false;
};

}  // namespace halvarin::host
