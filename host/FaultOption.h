#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "platform/machine/fans/FanModel.h"

namespace halvarin::host {

/// KEY=VALUE: the key reads that number.
struct ReadingFault {
  std::string key;
  double number = 0;
};

/// KEY=error:STATUS: reads and writes of the key fail with that status. The key stays listed.
struct StatusFault {
  std::string key;
  std::int32_t status = 0;
};

/// vanish:N: the service goes away after N transfers.
struct VanishFault {
  std::uint64_t transfers = 0;
};

/// fan:N=stalled|slow|weak|deaf is a platform::FanFault.
using FaultOption = std::variant<ReadingFault, StatusFault, VanishFault, platform::FanFault>;

/// What the text of one --fault option asks for. Throws ExitError (usage) for a text that asks for
/// nothing.
[[nodiscard]] FaultOption parseFault(const std::string& text);

}  // namespace halvarin::host
