#pragma once

#include "host/Exit.h"
#include "host/Options.h"

namespace halvarin::host {

/// Lists the controller's keys as they are, or writes them as a machine file.
[[nodiscard]] Exit runKeys(const Options& options);

}  // namespace halvarin::host
