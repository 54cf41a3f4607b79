#include "selftest/TestLogWriter.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>

#include "base/Exception.h"
#include "base/FileWrite.h"
#include "selftest/TestLog.h"
#include "selftest/TestLogPlace.h"
#include "selftest/TimeText.h"

namespace halvarin {

namespace {

/// With the folders above it. A failure shows when the file is opened.
void makeTestFolder(std::string_view folder) {
  std::error_code ignored;
  std::filesystem::create_directories(pathOfTestFolder(folder), ignored);
}

void replaceCsv(const std::string& path, std::string_view text) {
  if (path.empty()) {
    return;
  }
  makeTestFolder(kFanCsvFolder);
  static_cast<void>(replaceFile(path, text));
}

}  // namespace

std::string testLogLine(const platform::LocalTime& time, std::string_view entry) {
  return stampText(time).append("  ").append(entry).append("\n");
}

void appendTestLog(std::string_view name, std::string_view entry) {
  const std::string line = testLogLine(platform::localTime(), entry);
  const std::string path = pathOfTestFile(
      kTestLogFolder, std::string(name.empty() ? kDefaultTestLog : name).append(".log"));
  if (path.empty()) {
    return;
  }
  makeTestFolder(kTestLogFolder);
  static_cast<void>(appendToFile(path, line));
}

void saveCsv(const Array& lines, std::string_view location, std::string_view model,
             std::string_view user) {
  const std::string path = csvPath(location, model, user, platform::localTime());
  const ArrayElements elements = lines.elements();
  const auto odd = std::find_if_not(elements.begin(), elements.end(), std::mem_fn(&Value::isText));
  std::string text;
  std::for_each(elements.begin(), odd,
                [&](const Value& line) { text.append(line.textView()).append("\n"); });
  replaceCsv(path, text);
  if (odd != elements.end()) {
    const std::string place = std::to_string(odd - elements.begin());
    throw Exception(Exception::kInvalidArgument,
                    "the line at " + place + " is no text: " + odd->className());
  }
}

}  // namespace halvarin
