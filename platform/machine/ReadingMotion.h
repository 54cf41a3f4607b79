#pragma once

#include <vector>

#include "platform/Clock.h"
#include "platform/machine/MachineFile.h"

namespace halvarin::platform {

/// What a key of a living machine reads at a time: its temperatures, currents and powers swing a
/// little about what the file says, each in its own rhythm, and start exactly there. Other keys,
/// and values of 0 (a part that is off), stay as they are.
[[nodiscard]] std::vector<std::uint8_t> movedReading(const RecordedKey& key, Clock::Duration time);

}  // namespace halvarin::platform
