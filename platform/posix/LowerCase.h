#pragma once

#include <string>
#include <string_view>

namespace halvarin::platform {

/// Text that is UTF-8 throughout, with small letters for capital ones as in no particular language.
/// In one piece: what a sigma becomes depends on the letters around it.
[[nodiscard]] std::string lowercasedUtf8(std::string_view utf8);

}  // namespace halvarin::platform
