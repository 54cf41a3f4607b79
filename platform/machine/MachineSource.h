#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "base/Export.h"
#include "platform/machine/Machine.h"
#include "platform/machine/MachineFile.h"

// Where a machine comes from, as people write it: "this", "simulated", "simulated:MODEL",
// "file:PATH" or "socket:PATH". Faults are lines for the one who wrote it.

namespace halvarin::platform {

struct MachineSource {
  enum class Kind { thisComputer, simulated, file, socket };
  Kind kind = Kind::thisComputer;
  std::string path;   // of the machine file, or of the socket of the process that serves it
  std::string model;  // of the simulated machine; a built-in one
};

/// What a text asks for; else the fault, which names what holds the text ("--machine").
[[nodiscard]] HALVARIN_EXPORT std::variant<MachineSource, std::string> parseMachineSource(
    std::string_view text, std::string_view holder);

/// The keys and settings of a simulated or recorded machine (of no other); else the fault of its
/// file.
[[nodiscard]] HALVARIN_EXPORT std::variant<RecordedMachine, std::string> recordedMachine(
    const MachineSource& source);

/// The machine itself, never null, living by the computer's clock; else why it cannot be had. The
/// readings of simulated machines move, those of recorded ones stand still but for their fans.
[[nodiscard]] HALVARIN_EXPORT std::variant<std::shared_ptr<Machine>, std::string> openMachine(
    const MachineSource& source);

}  // namespace halvarin::platform
