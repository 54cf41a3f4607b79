#pragma once

#include "host/Exit.h"
#include "host/Options.h"

namespace halvarin::host {

/// No command: the machine, its hottest sensors, its fans and what is outside its limits.
[[nodiscard]] Exit runOverview(const Options& options);

}  // namespace halvarin::host
