#pragma once

#include <string_view>

// What a self-test and each part of it ends with.

namespace halvarin::status {

inline constexpr std::string_view kPassed = "Passed";
inline constexpr std::string_view kFailed = "Failed";
inline constexpr std::string_view kTimeout = "Timeout";  // of one fan: it never turned
inline constexpr std::string_view kCanceled = "Canceled";

}  // namespace halvarin::status
