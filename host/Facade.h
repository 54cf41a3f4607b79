#pragma once

#include <memory>

#include "host/Options.h"
#include "sensors/QXHalvarin.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::host {

/// Starts the library for its database alone, on whatever machine there is. Throws ExitError when
/// it cannot be read.
[[nodiscard]] std::shared_ptr<QXHalvarin> openDatabase();

/// Throws ExitError when a controller that is there cannot be opened, because the system does not
/// let this user ask it or because it is busy. The library, whose connection is refused then, only
/// sees a controller that lists no keys.
void requireAccess(const QXSMCInterface& smc, const Options& options);

/// Chooses the machine and starts the library on it. Throws ExitError when there is no controller,
/// none that this user may ask, no sensor database, or a list of keys that lacks what the command
/// needs (host/LostKeys.h). Says on standard error when the database
/// does not know the model.
[[nodiscard]] std::shared_ptr<QXHalvarin> openFacade(const Options& options);

/// The same for a self-test, which would pass for having nothing to test: throws ExitError also
/// when no key of the controller could be read.
[[nodiscard]] std::shared_ptr<QXHalvarin> openFacadeForTest(const Options& options);

}  // namespace halvarin::host
