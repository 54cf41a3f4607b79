#pragma once

#include <string_view>

#include "base/Export.h"

namespace halvarin {

/// Whether a reading counts as inside its limits; both limits are inclusive. It does when it or one
/// of the limits is empty, and when the limits hold on mains power only and the machine is not on
/// it. A reading that is not a number is outside.
[[nodiscard]] HALVARIN_EXPORT bool isInsideLimits(std::string_view reading, std::string_view low,
                                                  std::string_view high, bool mainsOnly,
                                                  bool onMains);

}  // namespace halvarin
