#pragma once

#include "host/Exit.h"
#include "host/Options.h"

namespace halvarin::host {

/// `test sensors`: the sensor self-test. Its verdict is the exit: fine, failed, or canceled by
/// Ctrl-C.
[[nodiscard]] Exit runTestSensors(const Options& options);

}  // namespace halvarin::host
