#pragma once

#include "host/Exit.h"
#include "host/Options.h"

namespace halvarin::host {

/// `test fans`: the fan self-test of the selected fans. Throws ExitError when it cannot be done.
[[nodiscard]] Exit runTestFans(const Options& options);

}  // namespace halvarin::host
