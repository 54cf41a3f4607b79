#include "host/Screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <sstream>
#include <vector>

namespace halvarin::host {

namespace {

constexpr std::size_t kUsualRows = 24;  // of a terminal that does not say

std::size_t terminalRows() {
  winsize size{};
  const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0;
  return known ? size.ws_row : kUsualRows;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

}  // namespace

DrawnFrame drawnOver(const std::string& frame, std::size_t linesBefore, std::size_t terminalRows) {
  // The cursor stands below the last line, so one row less than the terminal has can be drawn over.
  const std::size_t most = std::max<std::size_t>(terminalRows, 2) - 1;
  DrawnFrame drawn;
  if (linesBefore > 0) {
    drawn.text = "\033[" + std::to_string(linesBefore) + "A";
  }
  drawn.text += "\r\033[?7l";  // lines that are too wide are cut, not wrapped
  const std::vector<std::string> lines = linesOf(frame);
  const std::size_t shown = lines.size() <= most ? lines.size() : most - 1;
  for (std::size_t i = 0; i < shown; ++i) {
    drawn.text += lines[i] + "\033[K\n";
  }
  if (shown < lines.size()) {
    drawn.text += "... and " + std::to_string(lines.size() - shown) + " more lines\033[K\n";
  }
  drawn.lines = std::min(lines.size(), most);
  drawn.text += "\033[?7h\033[J";
  return drawn;
}

void Screen::show(const std::string& frame) {
  const DrawnFrame drawn = drawnOver(frame, linesBefore_, terminalRows());
  linesBefore_ = drawn.lines;
  std::cout << drawn.text << std::flush;
}

}  // namespace halvarin::host
