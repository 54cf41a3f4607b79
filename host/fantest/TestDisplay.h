#pragma once

#include <memory>
#include <string>

#include "platform/Queue.h"

namespace halvarin::host {

/// Shows a fan test while it runs. A thread of its own writes, so that nobody who answers for a fan
/// waits for a terminal or a pipe that takes nothing more. Any thread.
class TestDisplay {
 public:
  TestDisplay();
  /// Waits as `finish` does.
  ~TestDisplay();
  TestDisplay(const TestDisplay&) = delete;
  TestDisplay& operator=(const TestDisplay&) = delete;

  /// Draws a frame on standard output, a terminal; it replaces one that is not drawn yet.
  void draw(std::string frame);
  /// Writes a line to standard error.
  void say(const std::string& line);
  /// Waits until everything is written.
  void finish();

 private:
  struct Drawing;
  const std::shared_ptr<Drawing> drawing_;
  const platform::Queue queue_{"halvarin display", platform::Queue::Kind::serial};
  const platform::Group group_;
};

}  // namespace halvarin::host
