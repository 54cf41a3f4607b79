#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/Table.h"
#include "sensors/QXHalvarin.h"

namespace halvarin::host {

/// How the machine lets a program force one of its fans.
enum class ForcedBy { nothing, modeKey, forceBits };

/// A fan as a person wants to see it.
struct FanView {
  std::uint32_t index = 0;
  std::string location;  // printable, without blanks around it
  double speedRpm = 0;
  double targetRpm = 0;
  double minimumRpm = 0;
  double maximumRpm = 0;
  std::int32_t rangeStatus = 0;  // why the range cannot be read, 0 when it can
  std::string targetType;        // data type of the target key, "" without one
  ForcedBy forcedBy = ForcedBy::nothing;
  std::int32_t mode = 0;           // of the mode key; on machines with force bits the fan's bit
  bool isForced = false;           // seen so
  std::int32_t controlStatus = 0;  // why nobody can say who controls it, 0 when they can
  std::string control;  // "automatic", "forced", a mode of the machine's own, "mode 3", "not read"
};

struct FansView {
  std::vector<FanView> fans;
  std::string hottest;  // the machine's hottest reading, "58.25 °C"; "none" without one
};

/// The fans of an array that the facade delivered, with the force bits and temperatures of its
/// latest reading.
[[nodiscard]] FansView fansView(const QXHalvarin& facade, const Array& fans);

/// Reads the fans afresh.
[[nodiscard]] FansView readFansView(QXHalvarin& facade);

/// The status why the number of fans cannot be read; absent when it can, or when the machine has
/// no such key.
[[nodiscard]] std::optional<std::int32_t> fanCountStatus();

/// Throws ExitError when the number of fans cannot be read: "no fans" is an answer only when the
/// machine was able to say so.
void requireFanCount();

/// Ends the program because something of the machine cannot be read.
[[noreturn]] void refuseUnread(const std::string& what, std::int32_t status);

/// Throws ExitError when the range of a fan cannot be read: it reads as 0 to 0 then.
void requireRange(const FanView& fan);

/// A key that could not be read, and why.
struct UnreadKey {
  std::string key;
  std::int32_t status = 0;  // 0: none was given, or it was read again since

  /// " (status e00002d5)"; "" without one.
  [[nodiscard]] std::string statusText() const;
};

/// Of the keys by which the self-test commands and judges a fan (its speed, target and range) the
/// first that the reading of this fan dictionary did not get. A fan dictionary itself does not
/// tell: such a key counts as 0 there.
[[nodiscard]] std::optional<UnreadKey> unreadKeyOf(const Dictionary& fan);

/// "Fan 0 (Left side)", "Fan 1".
[[nodiscard]] std::string fanName(const FanView& fan);

/// A speed for a person, "2160 RPM".
[[nodiscard]] std::string rpmText(double rpm);

/// One row for each fan.
[[nodiscard]] Table fansTable(const FansView& view);

}  // namespace halvarin::host
