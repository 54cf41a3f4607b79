#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace halvarin::host {

/// The program's exits; docs/program.md explains them to people.
enum class Exit : int {
  fine = 0,
  failed = 1,  // a test failed; test commands only
  usage = 2,
  noMachine = 3,     // no SMC, the machine file cannot be read, or nobody serves the machine
  canceled = 4,      // a test was canceled
  notPermitted = 5,  // the system does not let this user do it
  ownFailure = 6,    // the output cannot be written, the machine did not do what it was asked, or a
                     // fault of the program itself
};

/// The exit of a program that a status of the platform stopped.
[[nodiscard]] Exit exitFor(std::int32_t status);

/// The exit of a self-test that ended with this status.
[[nodiscard]] Exit exitForTest(std::string_view status);

/// Ends the program with an exit and one line on standard error.
class ExitError : public std::runtime_error {
 public:
  ExitError(Exit exit, const std::string& line) : std::runtime_error(line), exit_(exit) {}
  [[nodiscard]] Exit exit() const { return exit_; }

 private:
  Exit exit_;
};

}  // namespace halvarin::host
