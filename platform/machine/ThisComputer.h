#pragma once

#include <memory>

#include "platform/machine/Machine.h"

namespace halvarin::platform {

/// The computer itself, as a machine of its own. Never null.
[[nodiscard]] std::shared_ptr<Machine> thisComputer();

}  // namespace halvarin::platform
