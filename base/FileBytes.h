#pragma once

#include <optional>
#include <string>

#include "base/Export.h"

namespace halvarin {

/// The whole content of a file. Absent when it cannot be opened or read to its end (a folder, a
/// damaged disk); errno then says why.
[[nodiscard]] HALVARIN_EXPORT std::optional<std::string> fileBytes(const std::string& path);

}  // namespace halvarin
