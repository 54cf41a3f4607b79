#pragma once

#include <stdexcept>
#include <string>

namespace halvarin::host {

/// The program's exits; docs/program.md explains them to people.
enum class Exit : int {
  fine = 0,
  failed = 1,  // a test failed; test commands only
  usage = 2,
  noMachine = 3,   // no SMC, the machine file cannot be read, or nobody serves the machine
  ownFailure = 6,  // the output cannot be written, or a fault of the program itself
};

/// Ends the program with an exit and one line on standard error.
class ExitError : public std::runtime_error {
 public:
  ExitError(Exit exit, const std::string& line) : std::runtime_error(line), exit_(exit) {}
  [[nodiscard]] Exit exit() const { return exit_; }

 private:
  Exit exit_;
};

}  // namespace halvarin::host
