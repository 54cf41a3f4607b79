#pragma once

#include <memory>

#include "host/Options.h"
#include "sensors/QXHalvarin.h"

namespace halvarin::host {

/// Starts the library for its database alone, on whatever machine there is. Throws ExitError when
/// it cannot be read.
[[nodiscard]] std::shared_ptr<QXHalvarin> openDatabase();

/// Chooses the machine and starts the library on it. Throws ExitError when there is no controller
/// or no sensor database. Says on standard error when the database does not know the model.
[[nodiscard]] std::shared_ptr<QXHalvarin> openFacade(const Options& options);

/// Throws ExitError when no key of the controller could be read as the facade started: a self-test
/// would pass for having nothing to test.
void requireReadableKeys(const QXHalvarin& facade, const Options& options);

}  // namespace halvarin::host
