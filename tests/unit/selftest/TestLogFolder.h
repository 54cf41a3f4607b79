#pragma once

#include <filesystem>
#include <set>
#include <string>

#include "base/FileBytes.h"
#include "selftest/TestLog.h"
#include "selftest/TestLogPlace.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {

/// While one lives, test logs lie under a new folder and not on the computer.
class TestLogFolder {
 public:
  TestLogFolder() { placeTestLogsUnder(top()); }
  ~TestLogFolder() { placeTestLogsUnder(""); }
  TestLogFolder(const TestLogFolder&) = delete;
  TestLogFolder& operator=(const TestLogFolder&) = delete;

  /// A folder that holds nothing but what was written, at first not even the log folders.
  [[nodiscard]] std::string top() const { return temporary_.file("top"); }
  [[nodiscard]] std::string logs() const { return top() + std::string(kTestLogFolder); }
  [[nodiscard]] std::string csvs() const { return top() + std::string(kFanCsvFolder); }
  [[nodiscard]] std::string log(const std::string& name) const {
    return fileBytes(logs() + "/" + name + ".log").value_or("no log " + name);
  }
  void makeLogs() const { std::filesystem::create_directories(logs()); }

  /// The names of all that lies anywhere in the new folder, but for the log folders themselves.
  [[nodiscard]] std::set<std::string> names() const {
    std::set<std::string> found;
    for (std::filesystem::recursive_directory_iterator each(temporary_.path()), end; each != end;
         ++each) {
      found.insert(each->path().filename());
    }
    for (const char* folder : {"top", "Library", "Logs", "QRB"}) {
      found.erase(folder);
    }
    return found;
  }

 private:
  TemporaryFolder temporary_;
};

/// A name with each way out of a folder, and one that ends early.
inline std::set<std::string> namesThatLeadElsewhere() {
  return {"/", "../x", "../../x", "a/b", "/tmp/x", std::string("a\0b", 3), std::string("\0", 1)};
}

}  // namespace halvarin::test
