#pragma once

#include <string>

#include "host/Options.h"

namespace halvarin::host {

/// The current machine as the text of a machine file. Asks the platform itself, since key records
/// hold neither attributes nor the controller's result bytes. Throws ExitError without a
/// controller.
[[nodiscard]] std::string dumpMachine(const Options& options);

/// A text among the system's settings, trimmed; "" when it cannot be read.
[[nodiscard]] std::string systemText(const char* name);

}  // namespace halvarin::host
