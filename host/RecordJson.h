#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "base/Dictionary.h"
#include "host/MachineChoice.h"

namespace halvarin::host {

using Json = nlohmann::ordered_json;

/// A value as JSON: bytes as upper-case hexadecimal text, dictionaries in the order of insertion.
[[nodiscard]] Json toJson(const Value& value);

[[nodiscard]] Json toJson(const MachineHeading& heading);

/// Writes one JSON value and a line end to standard output; bytes that are no text show as U+FFFD.
void printJson(const Json& json);

}  // namespace halvarin::host
