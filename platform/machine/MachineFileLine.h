#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/machine/MachineFile.h"

// One key line of a machine file:
//   [KEY ] type [tttt] xxxxxxxx len [ n] attr [aa] -> VALUE

namespace halvarin::platform {

/// The number that exactly `digits` hexadecimal digits stand for.
[[nodiscard]] std::optional<std::uint64_t> hexNumber(std::string_view text, std::size_t digits);

/// The key that the line records, or what is wrong with the line. The line has no line end and no
/// blanks at its end.
[[nodiscard]] std::variant<RecordedKey, std::string> parseKeyLine(std::string_view line);

/// The line of a key (its type's unprintable characters shown as "?"), preceded by a line with the
/// platform's status where it has one; each with its line end.
[[nodiscard]] std::string writeKeyLines(const RecordedKey& key);

}  // namespace halvarin::platform
