#include "host/fantest/FanTestCsv.h"

#include <array>
#include <string_view>

#include "sensors/FanRecord.h"

namespace halvarin::host {

namespace {

constexpr std::array<std::string_view, 6> kColumns{fan::kMode, fan::kTarget, fan::kSpeed,
                                                   fan::kMin,  fan::kMax,    fan::kTemp};

}  // namespace

std::string csvHeader() {
  std::string line = "sample,state";
  for (const std::string_view column : kColumns) {
    line += "," + std::string(column);
  }
  return line;
}

std::string csvLine(const FanTestProgress& progress, const Dictionary& fan) {
  std::string line = std::to_string(progress.sample) + "," + std::string(progress.state);
  for (const Value& value : fan.getEach(kColumns)) {
    line += "," + (value.isNothing() ? std::string() : value.description());
  }
  return line;
}

}  // namespace halvarin::host
