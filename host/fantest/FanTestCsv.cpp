#include "host/fantest/FanTestCsv.h"

#include <array>
#include <string_view>
#include <utility>

#include "base/Array.h"
#include "base/FileBytes.h"
#include "platform/LocalTime.h"
#include "selftest/TestLog.h"
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

std::string savedCsv(const QXFanTest& test, const std::string& model, const std::string& user,
                     const std::vector<std::string>& samples) {
  std::vector<Value> lines{csvHeader()};
  lines.insert(lines.end(), samples.begin(), samples.end());
  std::string content;
  for (const Value& line : lines) {
    content += std::string(line.textView()) + "\n";
  }
  const auto pathNow = [&] {
    return csvPath(test.fanLocation(), model, user, platform::localTime());
  };
  const std::string before = pathNow();
  test.saveFanAsCSV(*Array::make(std::move(lines)), user);
  for (const std::string& path : {before, pathNow()}) {  // the minute may have changed meanwhile
    if (fileBytes(path) == content) {
      return path;
    }
  }
  return "";
}

}  // namespace halvarin::host
