#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/NumberText.h"

namespace halvarin::platform {

/// The number in a hardware monitor's file name of this kind: 12 in "fan12_manual" for "fan" and
/// "_manual". Absent for names of other kinds.
[[nodiscard]] inline std::optional<std::uint32_t> attributeNumber(std::string_view name,
                                                                  std::string_view begin,
                                                                  std::string_view end) {
  constexpr std::size_t kMostDigits = 4;
  const std::size_t around = begin.size() + end.size();
  if (name.size() <= around || name.size() > around + kMostDigits ||
      name.substr(0, begin.size()) != begin || name.substr(name.size() - end.size()) != end) {
    return std::nullopt;
  }
  const auto number = wholeNumber(name.substr(begin.size(), name.size() - around));
  return number ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

}  // namespace halvarin::platform
