#pragma once

#include <chrono>
#include <string>

#include "platform/machine/MachineSource.h"

namespace halvarin::host {

/// Where readings come from.
using MachineOption = platform::MachineSource;

/// What the text of --machine asks for. Throws ExitError (usage) for a text that asks for nothing.
[[nodiscard]] MachineOption parseMachine(const std::string& text);

/// The time of --latency: a number with its unit, up to a minute. Throws ExitError (usage).
[[nodiscard]] std::chrono::nanoseconds parseLatency(const std::string& text);

/// Throws ExitError (usage) for a factor that --clock does not take.
void checkClockFactor(double factor);

}  // namespace halvarin::host
