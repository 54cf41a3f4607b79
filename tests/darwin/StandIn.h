#pragma once

#include <memory>

#include "base/Export.h"
#include "platform/machine/Machine.h"

// Between the stand-in for macOS (standin/) and the programs that are linked with it.

namespace halvarin::test {

/// What answers the stand-in's device calls, settings and power source. Each program brings its
/// own.
[[nodiscard]] HALVARIN_EXPORT std::shared_ptr<platform::Machine> machineBehindTheSystem();

}  // namespace halvarin::test

/// How many objects of Core Foundation and of Dispatch the process holds.
extern "C" HALVARIN_EXPORT long halvarinStandInObjects();
