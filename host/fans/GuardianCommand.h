#pragma once

#include "host/Exit.h"
#include "host/Options.h"

namespace halvarin::host {

/// The guardian's whole life (host/fans/FanGuard.h): opens the machine, says that it is ready,
/// reads what the program forces, and, once the program is gone, hands back what is still forced.
[[nodiscard]] Exit runGuardian(const Options& options);

}  // namespace halvarin::host
