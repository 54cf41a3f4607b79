#pragma once

#include <cstdint>
#include <string>

#include "host/Options.h"

namespace halvarin::host {

/// The machine that the program works on, for headings and JSON.
struct MachineHeading {
  std::string kind;  // "this", "simulated" or "file"
  std::string model;
  std::string powerSource;
};

/// Makes the machine that the options ask for the process's current one. Throws ExitError when its
/// file cannot be read or nobody serves it (noMachine), or an option does not fit it (usage).
void chooseMachine(const Options& options);

/// The heading of the current machine, once chosen.
[[nodiscard]] MachineHeading machineHeading(const Options& options, const std::string& model);

/// "Machine: MacBookPro16,1 (simulated), AC Power".
[[nodiscard]] std::string headingLine(const MachineHeading& heading);

/// Ends the program because there is no controller to ask.
[[noreturn]] void refuseWithoutController(const Options& options);

/// Ends the program because the controller could not be opened: not permitted, there is none that
/// can be used, or it is busy.
[[noreturn]] void refuseUnopened(const Options& options, std::int32_t status);

}  // namespace halvarin::host
