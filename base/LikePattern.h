#pragma once

#include <cstddef>
#include <string_view>

#include "base/Export.h"

namespace halvarin {

/// Whether the whole text matches a pattern in which "?" stands for exactly one character and "*"
/// for any run of characters. Case-sensitive. A character is a UTF-16 unit; in a text that is
/// not UTF-8 every byte counts as one.
[[nodiscard]] HALVARIN_EXPORT bool matchesLike(std::string_view text, std::string_view pattern);

/// Whether some text of exactly `length` characters can match the pattern.
[[nodiscard]] HALVARIN_EXPORT bool likeCanMatchLength(std::string_view pattern, std::size_t length);

}  // namespace halvarin
