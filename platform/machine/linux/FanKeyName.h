#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/machine/MachineFile.h"

namespace halvarin::platform {

/// A fan's key taken apart: "F1Tg" is fan 1 and "Tg".
struct FanKeyName {
  std::uint32_t fan = 0;
  FourBytes code{};

  [[nodiscard]] bool isOf(std::string_view what) const {
    return std::string_view(code.data() + 2, 2) == what;
  }
};

/// Absent for keys that begin otherwise than with "F" and the digit of one of 16 fans, which is how
/// many a controller can have.
[[nodiscard]] inline std::optional<FanKeyName> fanKeyName(const FourBytes& code) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const std::size_t fan = kDigits.find(code[1]);
  if (code[0] != 'F' || fan == std::string_view::npos) {
    return std::nullopt;
  }
  return FanKeyName{static_cast<std::uint32_t>(fan), code};
}

/// The fan's key that ends so: fan 1 and "Tg" make "F1Tg".
[[nodiscard]] inline FourBytes fanKeyOf(const FanKeyName& name, std::string_view what) {
  return {'F', name.code[1], what[0], what[1]};
}

}  // namespace halvarin::platform
