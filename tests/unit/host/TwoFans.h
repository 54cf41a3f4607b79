#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sensors/QXHalvarin.h"
#include "tests/support/Machines.h"
#include "tests/support/TestDatabase.h"

namespace halvarin::test {

/// A facade on two fans, and whatever else of keys.
class TwoFans : public testing::Test {
 protected:
  void start(std::vector<platform::RecordedKey> more, platform::Simulation simulation = {}) {
    std::vector<platform::RecordedKey> keys{
        key("F0Ac", "fpe2", {0x1F, 0x40}), key("F0Tg", "fpe2", {0x1F, 0x40}),
        key("F1Ac", "fpe2", {0x1F, 0x40}), key("F1Tg", "fpe2", {0x1F, 0x40}),
        key("FNum", "ui8 ", {2})};
    keys.insert(keys.end(), more.begin(), more.end());
    embedDatabase(databaseOf("Test1,1", {}));
    installed_ = install(machineWith(std::move(keys)), std::move(simulation));
    facade_ = QXHalvarin::sharedHalvarin();
    ASSERT_TRUE(facade_);
  }

  /// The writes so far, without the number of their connection.
  std::vector<std::string> writes() {
    std::vector<std::string> writes;
    for (const std::string& line : *installed_.journal) {
      if (const auto place = line.find("write "); place != std::string::npos) {
        writes.push_back(line.substr(place));
      }
    }
    return writes;
  }

  InstalledMachine installed_;
  std::shared_ptr<QXHalvarin> facade_;
};

}  // namespace halvarin::test
