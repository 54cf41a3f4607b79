#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/FaultOption.h"
#include "host/MachineOption.h"

namespace halvarin::host {

/// The guardian's command (host/fans/FanGuard.h); for the program itself, not for people.
inline constexpr const char* kGuardianCommand = "hand-back-fans";

enum class Command {
  overview,
  sensors,
  fans,
  fan,
  testSensors,
  testFans,
  keys,
  models,
  descriptors,
  guardian
};

/// What the command line asks for, checked as far as that is possible without a machine.
struct Options {
  MachineOption machine;
  double clockFactor = 1;
  std::chrono::nanoseconds latency{0};
  std::vector<FaultOption> faults;
  std::string journalPath;  // "" for none
  bool verbose = false;

  Command command = Command::overview;
  bool json = false;
  std::optional<std::chrono::nanoseconds> watchInterval;  // sensors, fans: again and again
  std::optional<std::string> category;                    // sensors
  bool allKeys = false;                                   // sensors
  std::uint32_t fan = 0;                                  // fan
  std::uint32_t speedRpm = 0;                             // fan
  bool handsFanBack = false;                              // fan: auto instead of a speed
  bool force = false;                                     // fan: also outside its range
  bool leave = false;                                     // fan: leave it forced
  std::vector<std::uint32_t> testedFans;                  // test fans: these; empty for all
  std::vector<std::uint32_t> guardedFans;                 // guardian: these
  std::optional<std::string> csvUser;                     // test fans: whose files the samples are
  std::optional<std::string> keyPattern;                  // keys
  bool dump = false;                                      // keys
};

/// Reads the command line. Absent when --help or --version was asked for and answered on standard
/// output. Throws ExitError (usage) with one line that says what is wrong.
[[nodiscard]] std::optional<Options> parseOptions(int argumentCount, const char* const* arguments);

}  // namespace halvarin::host
