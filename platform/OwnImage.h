#pragma once

#include <string_view>

#include "base/Data.h"
#include "base/Export.h"

// The image (library or program) that this code itself was linked into.
// Bodies: posix/OwnImage.cpp (ELF), macos/OwnImage.cpp (Mach-O).

namespace halvarin::platform {

/// A copy of a section of the own image, never of the main program's. Empty when the image has no
/// such section. ELF knows no segments by name: off macOS only the section's name counts.
[[nodiscard]] HALVARIN_EXPORT Data ownImageSection(std::string_view segment,
                                                   std::string_view section);

}  // namespace halvarin::platform
