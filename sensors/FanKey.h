#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Export.h"

// The controller's keys for fans: "F", the fan's digit, and what of the fan ("F0Ac").

namespace halvarin::fan {

inline constexpr std::string_view kCountKey = "FNum";      // number of fans
inline constexpr std::string_view kForceBitsKey = "FS! ";  // one bit for each forced fan
inline constexpr std::string_view kTestFlagKey = "Ftst";   // 1 while fans may be forced

inline constexpr std::string_view kActualSuffix = "Ac";
inline constexpr std::string_view kTargetSuffix = "Tg";
inline constexpr std::string_view kMinimumSuffix = "Mn";
inline constexpr std::string_view kMaximumSuffix = "Mx";
inline constexpr std::string_view kModeSuffix = "Md";
inline constexpr std::string_view kLowerModeSuffix = "md";  // where "Md" does not exist
inline constexpr std::string_view kIdentificationSuffix = "ID";

/// The character that names a fan in its keys: 0 to 9, then A and on, as one character of text.
/// Deliberate: there is no last fan, 36 gives "[". Codes above 127 are taken as Latin-1.
[[nodiscard]] HALVARIN_EXPORT std::string digit(std::uint32_t fan);

/// The key of a fan: `key(10, "Ac")` is "FAAc".
[[nodiscard]] HALVARIN_EXPORT std::string key(std::uint32_t fan, std::string_view suffix);

}  // namespace halvarin::fan
