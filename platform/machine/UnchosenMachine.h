#pragma once

#include <memory>

#include "platform/machine/Machine.h"

namespace halvarin::platform {

/// The machine of a process that has not chosen one: the same at every call, never null. It has two
/// bodies: the library's is the computer itself; that of libhalvarin_machine, whose programs cannot
/// choose, is what the environment names (foreign/).
[[nodiscard]] std::shared_ptr<Machine> unchosenMachine();

}  // namespace halvarin::platform
