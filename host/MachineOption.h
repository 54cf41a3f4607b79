#pragma once

#include <chrono>
#include <string>

namespace halvarin::host {

/// Where readings come from.
struct MachineOption {
  enum class Kind { thisComputer, simulated, file, socket };
  Kind kind = Kind::thisComputer;
  std::string path;   // of the machine file, or of the socket of the process that serves it
  std::string model;  // of the simulated machine
};

/// What the text of --machine asks for. Throws ExitError (usage) for a text that asks for nothing.
[[nodiscard]] MachineOption parseMachine(const std::string& text);

/// The time of --latency: a number with its unit, up to a minute. Throws ExitError (usage).
[[nodiscard]] std::chrono::nanoseconds parseLatency(const std::string& text);

/// Throws ExitError (usage) for a factor that --clock does not take.
void checkClockFactor(double factor);

}  // namespace halvarin::host
