#pragma once

#include <string_view>

#include "base/Dictionary.h"

// How the controller's keys are listed and asked about. Each transfer goes over the shared
// connection.

namespace halvarin {

/// A new key record without "index" (one transfer). Empty when the text has not exactly four
/// characters (no transfer) or the transfer fails.
[[nodiscard]] DictionaryRef readKeyInfo(std::string_view key);

/// A new table, key text to key record, of everything that the controller lists (two transfers per
/// index). An index that fails is left out; a count that cannot be read gives an empty table.
[[nodiscard]] DictionaryRef listKeyRecords();

}  // namespace halvarin
