#pragma once

#include <chrono>
#include <functional>
#include <ostream>
#include <string>

#include "host/Table.h"

namespace halvarin::host {

/// What a watch shows at one moment: lines above, and a table.
struct WatchFrame {
  std::string heading;  // each line ended
  Table table;
};

/// Takes a frame every interval of the machine's time until the program is told to end (Ctrl-C). On
/// a terminal each frame is drawn over the one before, cut to the terminal's size; elsewhere the
/// rows are appended, with the seconds since the beginning before each.
void watch(std::chrono::nanoseconds interval, const std::function<WatchFrame()>& takeFrame);

/// A frame as a terminal of a size draws it over one of `linesBefore` lines: how far to move up,
/// the lines cut to the terminal, what to clear. Counts the lines that it takes.
struct DrawnFrame {
  std::string text;
  std::size_t lines = 0;
};
[[nodiscard]] DrawnFrame drawnOver(const std::string& frame, std::size_t linesBefore,
                                   std::size_t terminalRows);

}  // namespace halvarin::host
