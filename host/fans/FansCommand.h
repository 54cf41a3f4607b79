#pragma once

#include "host/Exit.h"
#include "host/Options.h"

namespace halvarin::host {

/// `fans`: every fan, once or again and again.
[[nodiscard]] Exit runFans(const Options& options);

}  // namespace halvarin::host
