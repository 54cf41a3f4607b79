#include "host/FaultOption.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "base/NumberText.h"
#include "host/Exit.h"

namespace halvarin::host {

namespace {

constexpr std::size_t kKeyCharacters = 4;

[[noreturn]] void refuse(const std::string& text, const std::string& why) {
  throw ExitError(Exit::usage, "--fault " + text + ": " + why +
                                   "; it takes KEY=VALUE, KEY=error:STATUS, "
                                   "fan:N=stalled|slow|weak|deaf or vanish:N");
}

std::optional<double> numberFrom(const std::string& text) {
  const bool isSpecial = text == "nan" || text == "inf" || text == "-inf";
  return isSpecial ? decimalReading(text) : wholeDecimal(text);
}

StatusFault statusFault(const std::string& text, const std::string& key, std::string_view status) {
  if (status.substr(0, 2) == "0x" || status.substr(0, 2) == "0X") {
    status.remove_prefix(2);
  }
  const auto number = wholeNumber(status, 16);
  if (!number || *number == 0 || *number > std::numeric_limits<std::uint32_t>::max()) {
    refuse(text, "\"" + std::string(status) + "\" is no hexadecimal status");
  }
  return {key, static_cast<std::int32_t>(static_cast<std::uint32_t>(*number))};
}

VanishFault vanishFault(const std::string& text, std::string_view transfers) {
  const auto number = wholeNumber(transfers);
  if (!number) {
    refuse(text, "\"" + std::string(transfers) + "\" is no number of transfers");
  }
  return {*number};
}

platform::FanFault::Kind fanFaultKind(const std::string& text, std::string_view word) {
  using Kind = platform::FanFault::Kind;
  constexpr std::array<std::pair<std::string_view, Kind>, 4> kKinds{{{"stalled", Kind::stalled},
                                                                     {"slow", Kind::slow},
                                                                     {"weak", Kind::weak},
                                                                     {"deaf", Kind::deaf}}};
  for (const auto& [name, kind] : kKinds) {
    if (word == name) {
      return kind;
    }
  }
  refuse(text, "\"" + std::string(word) + "\" is no fault of a fan");
}

platform::FanFault fanFault(const std::string& text, std::string_view fault) {
  const std::size_t equals = std::min(fault.find('='), fault.size());
  const std::string_view fan = fault.substr(0, equals);
  const auto number = wholeNumber(fan);
  if (!number || *number > std::numeric_limits<std::uint32_t>::max()) {
    refuse(text, "\"" + std::string(fan) + "\" is no number of a fan");
  }
  const std::string_view word = fault.substr(std::min(equals + 1, fault.size()));
  return {static_cast<std::uint32_t>(*number), fanFaultKind(text, word)};
}

}  // namespace

FaultOption parseFault(const std::string& text) {
  constexpr std::string_view kVanish = "vanish:";
  constexpr std::string_view kFan = "fan:";
  constexpr std::string_view kError = "error:";
  if (text.rfind(kVanish, 0) == 0) {
    return vanishFault(text, std::string_view(text).substr(kVanish.size()));
  }
  if (text.rfind(kFan, 0) == 0) {
    return fanFault(text, std::string_view(text).substr(kFan.size()));
  }
  // The fifth character, since a key may hold a "=" itself.
  if (text.size() <= kKeyCharacters || text[kKeyCharacters] != '=') {
    refuse(text, "a key has four characters (blanks at its end count)");
  }
  const std::string key = text.substr(0, kKeyCharacters);
  const std::string_view value = std::string_view(text).substr(kKeyCharacters + 1);
  if (value.substr(0, kError.size()) == kError) {
    return statusFault(text, key, value.substr(kError.size()));
  }
  const auto number = numberFrom(std::string(value));
  if (!number) {
    refuse(text, "\"" + std::string(value) + "\" is no number");
  }
  return ReadingFault{key, *number};
}

}  // namespace halvarin::host
