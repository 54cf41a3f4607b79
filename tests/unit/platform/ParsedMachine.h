#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/machine/MachineFile.h"
#include "tests/generated/TestPaths.h"

// Lists of keys to parse, and what a parsed machine file holds or is refused for.

namespace halvarin::test {

/// What came of reading a machine file.
using Parsed = std::variant<platform::RecordedMachine, platform::MachineFileError>;

inline const std::string kMachines = HALVARIN_SOURCE_DIR "/tests/machines/";

inline std::string listOf(std::size_t count, const std::vector<std::string_view>& lines) {
  std::string text = "Public keys (" + std::to_string(count) + "):\n";
  for (const std::string_view line : lines) {
    text += line;
  }
  return text;
}

inline std::string errorOf(const Parsed& parsed) {
  const auto* error = std::get_if<platform::MachineFileError>(&parsed);
  return error == nullptr ? "(no error)" : error->message();
}

inline std::string errorIn(const std::string& text) {
  return errorOf(platform::parseMachineFile(text, "m.txt"));
}

inline platform::RecordedKey keyOf(const platform::RecordedMachine& machine,
                                   std::string_view code) {
  const auto found = std::find_if(
      machine.keys.begin(), machine.keys.end(),
      [&](const platform::RecordedKey& each) { return each.code == platform::fourBytes(code); });
  EXPECT_NE(found, machine.keys.end()) << code;
  return found == machine.keys.end() ? platform::RecordedKey{} : *found;
}

inline std::set<std::string> textFilesIn(const std::filesystem::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file() && entry.path().extension() == ".txt") {
      names.insert(entry.path().filename().string());
    }
  }
  return names;
}

}  // namespace halvarin::test
