#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace halvarin::test {

/// What a scripted driver is like.
struct DriverScript {
  enum class Names { older, newer, both };
  Names names = Names::older;           // of the fans' files, and where they lie
  std::chrono::microseconds latency{};  // of a value
  std::set<std::string> denied;         // files that may not be written
  bool isBlind = false;                 // the system tells nothing of others' writes
};

/// Keeps the script in a driver's folder, where every process finds it.
inline void writeScript(const std::filesystem::path& folder, const DriverScript& script) {
  std::ofstream file(folder / "script.txt");
  file << static_cast<int>(script.names) << ' ' << script.latency.count() << ' ' << script.isBlind;
  for (const std::string& name : script.denied) {
    file << ' ' << name;
  }
}

inline DriverScript scriptIn(const std::filesystem::path& folder) {
  std::ifstream file(folder / "script.txt");
  DriverScript script;
  int names = 0;
  std::int64_t latency = 0;
  file >> names >> latency >> script.isBlind;
  script.names = static_cast<DriverScript::Names>(names);
  script.latency = std::chrono::microseconds(latency);
  for (std::string name; file >> name;) {
    script.denied.insert(name);
  }
  return script;
}

}  // namespace halvarin::test
