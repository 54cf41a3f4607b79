#pragma once

#include <span>
#include <string>

namespace halvarin::host {

/// A fan under test, as a person watches it.
struct FanTestView {
  std::string name;   // "Fan 0 (Left side)", printable
  std::string state;  // of the run; "waiting" before it, the verdict after it
  double speedRpm = 0;
  double targetRpm = 0;
  double doneShare = 0;  // of the samples that are expected, 0 to 1
  bool hasReading = false;
};

/// A line with a bar for each fan.
[[nodiscard]] std::string progressFrame(std::span<const FanTestView> fans);

/// "Fan 0 (Left side): rah_max, 5412 RPM, target 5616 RPM".
[[nodiscard]] std::string stateLine(const FanTestView& fan);

}  // namespace halvarin::host
