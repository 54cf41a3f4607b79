#pragma once

#include "host/Exit.h"
#include "host/Options.h"

namespace halvarin::host {

/// Lists the sensors of the current machine with values and verdicts.
[[nodiscard]] Exit runSensors(const Options& options);

}  // namespace halvarin::host
