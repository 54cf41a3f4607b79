#pragma once

#include <string_view>

namespace halvarin::platform {

/// Whether a binary property list holds a text in two-byte characters with a zero character in it.
/// The property-list library ends the whole process when such a text is a name, so these lists must
/// not reach it. False for other bytes, whole or damaged: those the library refuses by itself.
[[nodiscard]] bool holdsZeroCharacter(std::string_view list);

}  // namespace halvarin::platform
