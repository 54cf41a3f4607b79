#include "tests/support/ScriptedFans.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <thread>

#include "platform/machine/fans/FanKeys.h"
#include "platform/machine/linux/FanKeyName.h"

namespace halvarin::test {

namespace {

using platform::RecordedKey;
using Names = DriverScript::Names;

constexpr std::uint64_t kFirstSpeedTooHigh = 0x4000;

std::string lineText(long number) {
  return std::to_string(number) + "\n";
}

bool isForced(std::uint32_t bits, std::uint32_t fan) {
  return ((bits >> fan) & 1U) != 0;
}

std::uint32_t withFan(std::uint32_t bits, std::uint32_t fan, bool forced) {
  return forced ? bits | 1U << fan : bits & ~(1U << fan);
}

const RecordedKey* keyNamed(const platform::RecordedMachine& machine,
                            const platform::FourBytes& code) {
  const auto found = std::find_if(machine.keys.begin(), machine.keys.end(),
                                  [&](const RecordedKey& key) { return key.code == code; });
  return found == machine.keys.end() ? nullptr : &*found;
}

}  // namespace

bool ScriptedFans::File::isWritable() const {
  return what != "_input" && what != "_max" && what != "_label";
}

ScriptedFans::ScriptedFans(const platform::RecordedMachine& machine, const DriverScript& script,
                           const std::string& folder)
    : machine_(machine),
      latency_(script.latency),
      hasForceBits_(keyNamed(machine, platform::fourBytes("FS! ")) != nullptr) {
  for (const std::uint32_t fan : platform::simulatedFans(machine.keys)) {
    for (const char* what : {"_input", "_label", "_max", "_min"}) {
      addFile(folder, fan, "fan", what);
    }
    if (script.names != Names::newer) {
      addFile(folder, fan, "fan", "_manual");
      addFile(folder, fan, "fan", "_output");
    }
    if (script.names != Names::older) {
      addFile(folder, fan, "fan", "_target");
      addFile(folder, fan, "pwm", "_enable");
    }
  }
}

void ScriptedFans::addFile(const std::string& folder, std::uint32_t fan, const std::string& begin,
                           const std::string& what) {
  const std::string name = begin + std::to_string(fan + 1) + what;
  files_[std::string(folder).append("/").append(name)] = {fan, what, name};
}

void ScriptedFans::begin(State& state) const {
  for (const std::uint32_t fan : platform::simulatedFans(machine_.keys)) {
    state.targets[fan] = static_cast<std::uint32_t>(speedOf(fan, "Tg"));
    state.minimums[fan] = static_cast<std::uint32_t>(speedOf(fan, "Mn"));
  }
}

const ScriptedFans::File* ScriptedFans::at(const std::string& path) const {
  const auto found = files_.find(path);
  return found == files_.end() ? nullptr : &found->second;
}

std::vector<std::string> ScriptedFans::namesIn(const std::string& folder) const {
  std::vector<std::string> names;
  for (const auto& [path, file] : files_) {
    if (path == folder + "/" + file.name) {
      names.push_back(file.name);
    }
  }
  return names;
}

std::string ScriptedFans::textIn(const File& file, const State& state) const {
  const bool forced = isForced(state.forced, file.fan);
  if (file.what == "_manual") {
    return lineText(forced ? 1 : 0);
  }
  if (file.what == "_enable") {
    return lineText(forced ? 1 : 2);
  }
  if (file.what == "_output" || file.what == "_target") {
    return lineText(state.targets[file.fan]);
  }
  if (file.what == "_min") {
    return lineText(state.minimums[file.fan]);
  }
  if (file.what == "_label") {
    return "Fan\n";
  }
  if (file.what == "_input" && forced) {
    return lineText(state.targets[file.fan]);
  }
  return lineText(static_cast<long>(speedOf(file.fan, file.what == "_max" ? "Mx" : "Ac")));
}

int ScriptedFans::write(const File& file, std::uint64_t value, State& state) const {
  if (file.what == "_manual") {
    writeMode(state, file.fan, value != 0);
  } else if (file.what == "_enable") {
    writeMode(state, file.fan, value == 1);
  } else if (value >= kFirstSpeedTooHigh) {
    return EINVAL;
  } else {
    (file.what == "_min" ? state.minimums : state.targets)[file.fan] =
        static_cast<std::uint32_t>(value);
  }
  return 0;
}

void ScriptedFans::writeMode(State& state, std::uint32_t fan, bool forced) const {
  if (!hasForceBits_) {
    setForced(state, fan, forced);
    return;
  }
  const std::uint32_t bits = state.forced;
  if (latency_.count() > 0) {
    std::this_thread::sleep_for(latency_);
  }
  state.forced = withFan(bits, fan, forced);
}

std::optional<std::vector<std::uint8_t>> ScriptedFans::valueOf(const RecordedKey& key,
                                                               const State& state) const {
  if (key.code == platform::fourBytes("FS! ")) {
    const std::uint32_t bits = state.forced;
    return std::vector{static_cast<std::uint8_t>(bits >> 8U), static_cast<std::uint8_t>(bits)};
  }
  const auto name = platform::fanKeyName(key.code);
  if (!name) {
    return std::nullopt;
  }
  const bool forced = isForced(state.forced, name->fan);
  if (name->isOf("Md")) {
    return std::vector{static_cast<std::uint8_t>(forced)};
  }
  if (name->isOf("Tg") || (name->isOf("Ac") && forced)) {
    return platform::speedBytes(key, state.targets[name->fan]);
  }
  return name->isOf("Mn") ? platform::speedBytes(key, state.minimums[name->fan]) : key.bytes;
}

void ScriptedFans::setForced(State& state, std::uint32_t fan, bool forced) {
  if (forced) {
    state.forced |= 1U << fan;
  } else {
    state.forced &= ~(1U << fan);
  }
}

double ScriptedFans::speedOf(std::uint32_t fan, std::string_view what) const {
  const RecordedKey* key = keyNamed(machine_, platform::fanKey(fan, what));
  return key == nullptr ? 0 : platform::heldSpeed(*key).value_or(0);
}

}  // namespace halvarin::test
