#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/Export.h"

namespace halvarin::platform {

/// Four bytes that name a key or a data type, in reading order ("FS! ", "flt ").
using FourBytes = std::array<char, 4>;

[[nodiscard]] HALVARIN_EXPORT FourBytes fourBytes(std::string_view text);

/// The result byte of a key that refuses to be read.
inline constexpr std::uint8_t kResultNotReadable = 0x85;

/// One key as a machine file records it.
struct RecordedKey {
  FourBytes code{};
  FourBytes type{};
  std::uint32_t sizeBytes = 0;
  std::uint8_t attributes = 0;
  std::vector<std::uint8_t> bytes;  // the first min(size, 32); empty when the key was not readable
  std::uint8_t result = 0;          // the controller's answer; 0 is a reading
  std::int32_t status = 0;          // the platform's answer; when not 0 there was no reply at all

  friend bool operator==(const RecordedKey&, const RecordedKey&) = default;
};

/// A machine as a machine file records it; the keys in index order.
struct RecordedMachine {
  std::string model;
  std::string processor;
  std::uint32_t logicalProcessors = 0;
  std::string powerSource;
  std::vector<RecordedKey> keys;

  friend bool operator==(const RecordedMachine&, const RecordedMachine&) = default;
};

/// Why a machine file could not be taken, for a person who has it open in an editor.
struct MachineFileError {
  std::string file;
  std::size_t line = 0;  // 1-based; 0 when the file as a whole is meant
  std::string what;

  /// "FILE:LINE: WHAT", one line.
  [[nodiscard]] HALVARIN_EXPORT std::string message() const;
};

/// Reads a machine file. `name` stands in error messages and, without its folder and ending, is the
/// model where the text states none.
[[nodiscard]] HALVARIN_EXPORT std::variant<RecordedMachine, MachineFileError> parseMachineFile(
    std::string_view text, const std::string& name);
[[nodiscard]] HALVARIN_EXPORT std::variant<RecordedMachine, MachineFileError> readMachineFile(
    const std::string& path);

/// The text of a machine file that reads back to the same machine.
[[nodiscard]] HALVARIN_EXPORT std::string writeMachineFile(const RecordedMachine& machine);

}  // namespace halvarin::platform
