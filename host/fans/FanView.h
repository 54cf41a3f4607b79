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
  std::int32_t mode = 0;  // of the mode key; on machines with force bits the fan's bit
  bool isForced = false;
  std::int32_t controlStatus = 0;  // why nobody can say who controls it, 0 when they can
  std::string control;  // "automatic", "forced", or a mode of the machine's own, "mode 3"
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

/// "Fan 0 (Left side)", "Fan 1".
[[nodiscard]] std::string fanName(const FanView& fan);

/// A speed for a person, "2160 RPM".
[[nodiscard]] std::string rpmText(double rpm);

/// One row for each fan.
[[nodiscard]] Table fansTable(const FansView& view);

}  // namespace halvarin::host
