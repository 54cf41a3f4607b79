#pragma once

#include <sys/types.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace halvarin::test {

/// The words of a running process; "" when it has just ended.
inline std::string commandLineOf(const std::filesystem::path& process) {
  std::ostringstream words;
  words << std::ifstream(process / "cmdline", std::ios::binary).rdbuf();
  return words.str();
}

/// The process that is the guardian of this machine; 0 when there is none.
inline pid_t guardianOf(const std::string& machineWord) {
  for (const auto& process : std::filesystem::directory_iterator("/proc")) {
    const std::string words = commandLineOf(process.path());
    if (words.find(machineWord) != std::string::npos &&
        words.find("hand-back-fans") != std::string::npos) {
      return std::atoi(process.path().filename().c_str());
    }
  }
  return 0;
}

/// False when there is none.
inline bool killGuardianOf(const std::string& machineWord) {
  const pid_t guardian = guardianOf(machineWord);
  return guardian > 0 && kill(guardian, SIGKILL) == 0;
}

}  // namespace halvarin::test
