#pragma once

#include <chrono>
#include <functional>
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

}  // namespace halvarin::host
