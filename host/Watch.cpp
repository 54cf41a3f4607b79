#include "host/Watch.h"

#include <unistd.h>

#include <iostream>
#include <sstream>

#include "base/NumberText.h"
#include "host/Screen.h"
#include "host/Terminal.h"
#include "host/fans/EndSignals.h"
#include "platform/Clock.h"
#include "platform/Queue.h"

namespace halvarin::host {

namespace {

/// Draws in place on a terminal.
class ScreenWatch {
 public:
  void show(const WatchFrame& frame) {
    std::ostringstream text;
    text << frame.heading;
    frame.table.print(text, mayColour());
    screen_.show(text.str());
  }

 private:
  Screen screen_;
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

void watch(std::chrono::nanoseconds interval, const std::function<WatchFrame()>& takeFrame) {
  if (isatty(STDOUT_FILENO) == 1) {
    watchOn(ScreenWatch(), interval, takeFrame);
  } else {
    watchOn(LogWatch(), interval, takeFrame);
  }
}

}  // namespace halvarin::host
