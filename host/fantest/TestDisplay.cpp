#include "host/fantest/TestDisplay.h"

#include <iostream>
#include <optional>
#include <utility>

#include "base/Mutex.h"
#include "host/Screen.h"

namespace halvarin::host {

struct TestDisplay::Drawing {
  void show() {
    std::optional<std::string> frame;
    {
      const MutexLock lock(mutex);
      frame = std::exchange(next, std::nullopt);
    }
    if (frame) {
      screen.show(*frame);
    }
  }

  Mutex mutex;
  std::optional<std::string> next HALVARIN_GUARDED_BY(mutex);
  Screen screen;  // the writing thread's
};

TestDisplay::TestDisplay() : drawing_(std::make_shared<Drawing>()) {}

TestDisplay::~TestDisplay() {
  finish();
}

void TestDisplay::draw(std::string frame) {
  bool isWaiting = false;
  {
    const MutexLock lock(drawing_->mutex);
    isWaiting = std::exchange(drawing_->next, std::move(frame)).has_value();
  }
  if (!isWaiting) {
    queue_.async(group_, [drawing = drawing_] { drawing->show(); });
  }
}

void TestDisplay::say(const std::string& line) {
  queue_.async(group_, [text = "halvarin: " + line + "\n"] { std::cerr << text; });
}

void TestDisplay::finish() {
  group_.wait();
}

}  // namespace halvarin::host
