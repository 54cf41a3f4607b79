#pragma once

#include <cstddef>
#include <string>

namespace halvarin::host {

/// A frame as a terminal of a size draws it over one of `linesBefore` lines: how far to move up,
/// the lines cut to the terminal, what to clear. Counts the lines that it takes.
struct DrawnFrame {
  std::string text;
  std::size_t lines = 0;
};
[[nodiscard]] DrawnFrame drawnOver(const std::string& frame, std::size_t linesBefore,
                                   std::size_t terminalRows);

/// Draws frames on standard output, a terminal, each over the one before.
class Screen {
 public:
  void show(const std::string& frame);

 private:
  std::size_t linesBefore_ = 0;
};

}  // namespace halvarin::host
