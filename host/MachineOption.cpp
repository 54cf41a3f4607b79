#include "host/MachineOption.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <vector>

#include "base/NumberText.h"
#include "host/Exit.h"
#include "platform/machine/BuiltInMachine.h"

namespace halvarin::host {

namespace {

std::string listedModels() {
  std::string text;
  for (const std::string& model : platform::builtInModels()) {
    text += (text.empty() ? "" : ", ") + model;
  }
  return text;
}

std::string builtInModel(const std::string& text) {
  const std::vector<std::string> models = platform::builtInModels();
  if (std::find(models.begin(), models.end(), text) == models.end()) {
    throw ExitError(Exit::usage,
                    "there is no built-in machine \"" + text + "\"; there are: " + listedModels());
  }
  return text;
}

}  // namespace

MachineOption parseMachine(const std::string& text) {
  constexpr std::string_view kFile = "file:";
  constexpr std::string_view kSocket = "socket:";
  constexpr std::string_view kSimulated = "simulated:";
  if (text == "this") {
    return {};
  }
  if (text.rfind(kFile, 0) == 0 && text.size() > kFile.size()) {
    return {MachineOption::Kind::file, text.substr(kFile.size()), {}};
  }
  if (text.rfind(kSocket, 0) == 0 && text.size() > kSocket.size()) {
    return {MachineOption::Kind::socket, text.substr(kSocket.size()), {}};
  }
  if (text == "simulated") {
    return {MachineOption::Kind::simulated, {}, platform::builtInModels().front()};
  }
  if (text.rfind(kSimulated, 0) == 0) {
    return {MachineOption::Kind::simulated, {}, builtInModel(text.substr(kSimulated.size()))};
  }
  throw ExitError(Exit::usage, "--machine takes this, simulated, simulated:MODEL (" +
                                   listedModels() + "), file:PATH or socket:PATH, not \"" + text +
                                   "\"");
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
