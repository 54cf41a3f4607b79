#pragma once

#include "host/Exit.h"
#include "host/Options.h"

namespace halvarin::host {

/// Lists the models that the sensor database knows. Needs no machine.
[[nodiscard]] Exit runModels(const Options& options);

}  // namespace halvarin::host
