#pragma once

#include "host/Exit.h"
#include "host/Options.h"

namespace halvarin::host {

/// `descriptors`: the names of all sensors that the database knows. Needs no machine.
[[nodiscard]] Exit runDescriptors(const Options& options);

}  // namespace halvarin::host
