#include "host/MachineOption.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>
#include <variant>

#include "base/NumberText.h"
#include "host/Exit.h"

namespace halvarin::host {

MachineOption parseMachine(const std::string& text) {
  auto parsed = platform::parseMachineSource(text, "--machine");
  if (const auto* fault = std::get_if<std::string>(&parsed)) {
    throw ExitError(Exit::usage, *fault);
  }
  return std::get<MachineOption>(std::move(parsed));
}

std::chrono::nanoseconds parseLatency(const std::string& text) {
  struct Unit {
    std::string_view name;
    double nanoseconds;
  };
  constexpr std::array<Unit, 4> kUnits{{{"ns", 1}, {"us", 1e3}, {"ms", 1e6}, {"s", 1e9}}};
  constexpr double kMostNanoseconds = 60e9;
  const std::size_t unitAt = std::min(text.find_first_not_of("0123456789."), text.size());
  const auto number = wholeDecimal(std::string_view(text).substr(0, unitAt));
  for (const Unit& unit : kUnits) {
    const bool fits = number && unit.name == std::string_view(text).substr(unitAt);
    if (fits && *number * unit.nanoseconds <= kMostNanoseconds) {
      return std::chrono::nanoseconds(std::llround(*number * unit.nanoseconds));
    }
  }
  throw ExitError(
      Exit::usage,
      "--latency takes a time up to 60s with its unit, as in 100us, 2ms or 0.5s, not \"" + text +
          "\"");
}

void checkClockFactor(double factor) {
  constexpr double kSlowest = 0.001;
  constexpr double kFastest = 1e6;
  if (factor != 0 && !(factor >= kSlowest && factor <= kFastest)) {
    throw ExitError(Exit::usage, "--clock takes 0 or a factor from 0.001 to 1000000");
  }
}

}  // namespace halvarin::host
