#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/machine/MachineFile.h"
#include "tests/support/DriverScript.h"

namespace halvarin::test {

/// The fans of a scripted driver, and what its files for them show and do. Where the controller has
/// force bits, the driver forces a fan as the real one does: it reads all bits, which takes as long
/// as a value, and writes them all.
class ScriptedFans {
 public:
  /// In memory that processes share.
  struct State {
    std::atomic<std::uint32_t> forced;                    // a bit for each fan
    std::array<std::atomic<std::uint32_t>, 16> targets;   // RPM
    std::array<std::atomic<std::uint32_t>, 16> minimums;  // RPM
  };
  struct File {
    std::uint32_t fan = 0;
    std::string what;  // "_manual"
    std::string name;  // "fan1_manual"
    [[nodiscard]] bool isWritable() const;
  };

  /// `folder` holds the files. The machine outlives this object.
  ScriptedFans(const platform::RecordedMachine& machine, const DriverScript& script,
               const std::string& folder);

  /// As the machine has them.
  void begin(State& state) const;

  [[nodiscard]] const File* at(const std::string& path) const;
  [[nodiscard]] std::vector<std::string> namesIn(const std::string& folder) const;
  [[nodiscard]] std::string textIn(const File& file, const State& state) const;
  /// 0, or EINVAL for a value that the driver does not take.
  [[nodiscard]] int write(const File& file, std::uint64_t value, State& state) const;
  /// What a fan's key holds; absent for other keys.
  [[nodiscard]] std::optional<std::vector<std::uint8_t>> valueOf(const platform::RecordedKey& key,
                                                                 const State& state) const;
  /// What the controller itself does to a fan.
  static void setForced(State& state, std::uint32_t fan, bool forced);

 private:
  void addFile(const std::string& folder, std::uint32_t fan, const std::string& begin,
               const std::string& what);
  void writeMode(State& state, std::uint32_t fan, bool forced) const;
  [[nodiscard]] double speedOf(std::uint32_t fan, std::string_view what) const;

  const platform::RecordedMachine& machine_;
  const std::chrono::microseconds latency_;
  bool hasForceBits_ = false;
  std::map<std::string, File> files_;  // by path
};

}  // namespace halvarin::test
