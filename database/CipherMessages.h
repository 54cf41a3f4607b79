#pragma once

#include <string>

#include "platform/Cipher.h"

// The log lines of a failed transform, word for word what log readers search for.

namespace halvarin {

/// Deliberate: setting the input of an enciphering is reported with two blanks before "error",
/// everything else with one.
[[nodiscard]] std::string encipherFailureLine(const platform::CipherFailure& failure);
[[nodiscard]] std::string decipherFailureLine(const platform::CipherFailure& failure);

}  // namespace halvarin
