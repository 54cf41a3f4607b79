#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/machine/CurrentMachine.h"
#include "platform/machine/MachineFile.h"
#include "platform/machine/SimulatedMachine.h"

namespace halvarin::test {

using Bytes = std::vector<std::uint8_t>;

/// A key for a small machine; its size is the number of its bytes.
inline platform::RecordedKey key(std::string_view code, std::string_view type, Bytes bytes) {
  platform::RecordedKey recorded;
  recorded.code = platform::fourBytes(code);
  recorded.type = platform::fourBytes(type);
  recorded.sizeBytes = static_cast<std::uint32_t>(bytes.size());
  recorded.attributes = 0x80;
  recorded.bytes = std::move(bytes);
  return recorded;
}

/// A machine with these keys and, before them, a right "#KEY".
inline platform::RecordedMachine machineWith(std::vector<platform::RecordedKey> keys,
                                             std::string model = "Test1,1") {
  const auto count = static_cast<std::uint32_t>(keys.size() + 1);
  keys.insert(keys.begin(),
              key("#KEY", "ui32",
                  {static_cast<std::uint8_t>(count >> 24U), static_cast<std::uint8_t>(count >> 16U),
                   static_cast<std::uint8_t>(count >> 8U), static_cast<std::uint8_t>(count)}));
  return {std::move(model), "Intel(R) Test CPU", 4, "AC Power", std::move(keys)};
}

/// Lines of a machine's journal.
using JournalLines = std::shared_ptr<std::vector<std::string>>;

/// Those of the lines that tell of a write.
inline std::vector<std::string> writeLines(const JournalLines& journal) {
  std::vector<std::string> writes;
  for (const std::string& line : *journal) {
    if (line.find(" write ") != std::string::npos) {
      writes.push_back(line);
    }
  }
  return writes;
}

/// A fault of every transfer with this key and command (5 reads, 6 writes) from a transfer on.
inline platform::TransferFault faultOf(std::string_view code, std::uint8_t command,
                                       std::uint64_t firstCall = 1) {
  platform::TransferFault fault;
  fault.key = platform::fourBytes(code);
  fault.command = command;
  fault.firstCall = firstCall;
  fault.status = static_cast<std::int32_t>(0xE00002C2);
  return fault;
}

/// Makes a simulated machine the current one, with a journal of everything it gets.
struct InstalledMachine {
  std::shared_ptr<platform::SimulatedMachine> machine;
  JournalLines journal;
};

inline InstalledMachine install(platform::RecordedMachine recorded,
                                platform::Simulation simulation = {}) {
  auto journal = std::make_shared<std::vector<std::string>>();
  simulation.journal = [journal](std::string_view line) { journal->emplace_back(line); };
  auto machine =
      std::make_shared<platform::SimulatedMachine>(std::move(recorded), std::move(simulation));
  platform::setMachine(machine);
  return {machine, journal};
}

}  // namespace halvarin::test
