#pragma once

#include "base/Dictionary.h"
#include "sensors/QXHalvarin.h"

namespace halvarin::host {

/// Asks the facade for one update pass and waits for its notification (sensors/SensorUpdate.h) on
/// the calling thread, which is the main thread.
[[nodiscard]] DictionaryRef nextUpdatePass(QXHalvarin& facade);

}  // namespace halvarin::host
