#include "host/fantest/FanTestView.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "base/NumberText.h"
#include "base/Text.h"
#include "host/fans/FanView.h"

namespace halvarin::host {

namespace {

std::size_t shownWidth(const std::string& text) {
  const auto characters = utf16(text);
  return characters ? characters->size() : text.size();
}

std::string padded(const std::string& text, std::size_t width) {
  const std::size_t shown = shownWidth(text);
  return shown < width ? text + std::string(width - shown, ' ') : text;
}

std::string bar(double share) {
  constexpr std::size_t kWidth = 20;
  const auto done = static_cast<std::size_t>(
      std::lround(std::clamp(share, 0.0, 1.0) * static_cast<double>(kWidth)));
  return "[" + std::string(done, '#') + std::string(kWidth - done, '.') + "]";
}

std::string percent(double share) {
  const std::string number = fixedText(std::floor(std::clamp(share, 0.0, 1.0) * 100), 0);
  return std::string(3 - std::min<std::size_t>(number.size(), 3), ' ') + number + " %";
}

std::string speeds(const FanTestView& fan) {
  return fan.hasReading ? rpmText(fan.speedRpm) + ", target " + rpmText(fan.targetRpm) : "";
}

}  // namespace

std::string progressFrame(std::span<const FanTestView> fans) {
  constexpr std::size_t kLongestState = 12;  // "animate_done"
  std::size_t nameWidth = 0;
  for (const FanTestView& fan : fans) {
    nameWidth = std::max(nameWidth, shownWidth(fan.name));
  }
  std::string frame;
  for (const FanTestView& fan : fans) {
    frame += padded(fan.name, nameWidth) + "  " + bar(fan.doneShare) + " " +
             percent(fan.doneShare) + "  " + padded(fan.state, kLongestState) + "  " + speeds(fan) +
             "\n";
  }
  return frame;
}

std::string stateLine(const FanTestView& fan) {
  return fan.name + ": " + fan.state + (fan.hasReading ? ", " + speeds(fan) : "");
}

}  // namespace halvarin::host
