#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/fans/FanView.h"

namespace halvarin::host {

/// What a fan's target key can carry.
struct TargetRange {
  bool canBeSet = false;
  std::uint32_t mostRpm = 0;
};

/// By the type of the target key, "" for a fan without one.
[[nodiscard]] TargetRange targetRange(std::string_view targetType);

/// A speed that a person asks of a fan.
struct SpeedRequest {
  std::uint32_t rpm = 0;
  bool isForced = false;  // outside the fan's own range too
};

/// Why a request must not be passed on to the fan; "" when it may.
[[nodiscard]] std::string refusalOf(const SpeedRequest& request, const FanView& fan);

/// "there is no fan 3; there are fans 0 to 1".
[[nodiscard]] std::string noSuchFan(std::uint32_t fan, std::size_t count);

}  // namespace halvarin::host
