#pragma once

#include <string>

#include "base/Dictionary.h"
#include "host/Table.h"

namespace halvarin::host {

/// What the verdict of a freshly read key record means to a person: "ok", "too low", "too high",
/// "not a number", "on mains only" (limits not applied now), "no limits", "no value", or "not read"
/// after a failed transfer.
[[nodiscard]] Cell verdictOf(const Dictionary& record, bool onMains);

/// Whether the reading is outside its limits.
[[nodiscard]] bool isOutside(const Dictionary& record);

/// "0 to 50", "" without limits.
[[nodiscard]] std::string limitsOf(const Dictionary& record);

}  // namespace halvarin::host
