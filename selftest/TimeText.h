#pragma once

#include <string>

#include "platform/LocalTime.h"

// A moment as the files of the self-tests write it: in ASCII digits, the same in every locale.

namespace halvarin {

/// "yyyy-MM-dd HH:mm:ss.SSS", for example "2024-03-07 08:05:09.004".
[[nodiscard]] std::string stampText(const platform::LocalTime& time);

/// "yyMMddHHmm", for example "2403070805".
[[nodiscard]] std::string minuteText(const platform::LocalTime& time);

}  // namespace halvarin
