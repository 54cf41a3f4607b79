#pragma once

#include <string>
#include <vector>

namespace halvarin::test {

/// How a run of a program ended.
struct ProgramRun {
  int exit = -1;  // 128 and the signal when a signal ended it
  std::string out;
  std::string err;
};

/// Runs a program to its end, without standard input.
[[nodiscard]] ProgramRun runProgram(const std::string& path, const std::vector<std::string>& words);

/// Runs `halvarin`.
[[nodiscard]] ProgramRun halvarinRun(const std::vector<std::string>& words);

/// "file:" and the path of one of our own machine files, for --machine.
[[nodiscard]] std::string machineFile(const std::string& name);

/// Compares a text with the kept one of that name in tests/golden. With HALVARIN_UPDATE_GOLDEN set,
/// keeps it instead and fails once, so that nobody takes the update for a comparison.
void expectGolden(const std::string& name, const std::string& text);

}  // namespace halvarin::test
