#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "host/FaultOption.h"

namespace halvarin::host {

/// Where readings come from.
struct MachineOption {
  enum class Kind { thisComputer, simulated, file, socket };
  Kind kind = Kind::thisComputer;
  std::string path;   // of the machine file, or of the socket of the process that serves it
  std::string model;  // of the simulated machine
};

enum class Command { sensors, keys, models };

/// What the command line asks for, checked as far as that is possible without a machine.
struct Options {
  MachineOption machine;
  double clockFactor = 1;
  std::chrono::nanoseconds latency{0};
  std::vector<FaultOption> faults;
  std::string journalPath;  // "" for none
  bool verbose = false;

  Command command = Command::sensors;
  bool json = false;
  std::optional<std::string> category;    // sensors
  bool allKeys = false;                   // sensors
  std::optional<std::string> keyPattern;  // keys
  bool dump = false;                      // keys
};

/// Reads the command line. Absent when --help or --version was asked for and answered on standard
/// output. Throws ExitError (usage) with one line that says what is wrong.
[[nodiscard]] std::optional<Options> parseOptions(int argumentCount, const char* const* arguments);

}  // namespace halvarin::host
