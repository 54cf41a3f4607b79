#pragma once

#include "host/Exit.h"
#include "host/Options.h"

namespace halvarin::host {

/// `fan N RPM`: forces a fan and holds the terminal until it is handed back. `fan N auto`: hands it
/// back. Throws ExitError when the machine does not let it be done.
[[nodiscard]] Exit runFan(const Options& options);

}  // namespace halvarin::host
