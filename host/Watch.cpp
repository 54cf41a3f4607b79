#include "host/Watch.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <sstream>
#include <vector>

#include "base/NumberText.h"
#include "host/Terminal.h"
#include "host/fans/EndSignals.h"
#include "platform/Clock.h"
#include "platform/Queue.h"

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

/// Draws in place on a terminal.
class ScreenWatch {
 public:
  void show(const WatchFrame& frame) {
    std::ostringstream text;
    text << frame.heading;
    frame.table.print(text, mayColour());
    const DrawnFrame drawn = drawnOver(text.str(), linesBefore_, terminalRows());
    linesBefore_ = drawn.lines;
    std::cout << drawn.text << std::flush;
  }

 private:
  std::size_t linesBefore_ = 0;
};

/// Appends rows to a file or a pipe.
class LogWatch {
 public:
  void show(const WatchFrame& frame) {
    const auto now = platform::currentClock()->now();
    if (!isBegun_) {
      isBegun_ = true;
      begin_ = now;
      std::cout << frame.heading;
    }
    const double seconds = std::chrono::duration<double>(now - begin_).count();
    Table table = frame.table;
    table.insertColumn({"Seconds", Align::right}, fixedText(seconds, 1));
    table.print(std::cout, false, isTitled_ ? Table::Titles::hidden : Table::Titles::shown);
    isTitled_ = true;
    std::cout << std::flush;
  }

 private:
  bool isBegun_ = false;
  bool isTitled_ = false;
  platform::Clock::Duration begin_{0};
};

template <typename Shown>
void watchOn(Shown shown, std::chrono::nanoseconds interval,
             const std::function<WatchFrame()>& takeFrame) {
  platform::Semaphore told(0);
  const EndSignals signals([&told] { told.signal(); });
  do {
    shown.show(takeFrame());
    // A watch whose output nobody can read any more has no reason to go on.
  } while (std::cout && !told.wait(interval));
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

void watch(std::chrono::nanoseconds interval, const std::function<WatchFrame()>& takeFrame) {
  if (isatty(STDOUT_FILENO) == 1) {
    watchOn(ScreenWatch(), interval, takeFrame);
  } else {
    watchOn(LogWatch(), interval, takeFrame);
  }
}

}  // namespace halvarin::host
