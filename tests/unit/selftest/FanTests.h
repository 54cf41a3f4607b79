#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "platform/machine/CurrentMachine.h"
#include "selftest/QXFanTest.h"
#include "tests/support/FanMachines.h"
#include "tests/support/SteppingClock.h"
#include "tests/support/TestDatabase.h"
#include "tests/unit/selftest/TestLogFolder.h"

namespace halvarin::test {

/// The owner of fan tests: hands out a queue and keeps what it is told.
class TestOwner : public FanTestOwner {
 public:
  [[nodiscard]] platform::Queue read_queue() const override { return queue_; }
  void fan_is_running() override { note("running"); }
  void willChangeValueForKey(std::string_view key) override { note("will " + std::string(key)); }
  void didChangeValueForKey(std::string_view key) override { note("did " + std::string(key)); }

  [[nodiscard]] std::vector<std::string> told() const {
    const MutexLock lock(mutex_);
    return told_;
  }

 private:
  void note(std::string what) {
    const MutexLock lock(mutex_);
    told_.push_back(std::move(what));
  }

  const platform::Queue queue_{"test readings", platform::Queue::Kind::serial};
  mutable Mutex mutex_;
  std::vector<std::string> told_ HALVARIN_GUARDED_BY(mutex_);
};

/// The writes of a journal, as "F0Tg 5DC0", those that failed with their result behind.
inline std::vector<std::string> writtenKeys(const JournalLines& journal) {
  std::vector<std::string> writes;
  for (const std::string& line : writeLines(journal)) {
    const std::size_t key = line.find("write ") + 6;
    const std::size_t bytes = line.find("bytes ") + 6;
    const std::size_t result = line.find(" -> ");
    const std::string failure = line.substr(result) == " -> done" ? "" : line.substr(result);
    writes.push_back(line.substr(key, 4) + " " + line.substr(bytes, result - bytes) + failure);
  }
  return writes;
}

/// The shared facade on a machine whose time passes only by waiting, with the logs in a folder of
/// the test's own.
class FanTestCase : public testing::Test {
 protected:
  void startOn(platform::RecordedMachine recorded, platform::Simulation simulation = {}) {
    embedDatabase(databaseOf(recorded.model.c_str(), {{"TC0P", "CPU proximity"}}));
    simulation.clock = clock_;
    installed_ = install(std::move(recorded), std::move(simulation));
    platform::setMachine(installed_.machine, clock_);
    facade_ = QXHalvarin::sharedHalvarin();
    ASSERT_TRUE(facade_);
    installed_.journal->clear();
  }
  /// A test of a fan of that machine.
  [[nodiscard]] std::shared_ptr<QXFanTest> testOf(std::uint32_t fan) {
    return QXFanTest::fanTestWithAttribs(*facade_->readFans()->at(fan).dictionary(), owner_);
  }
  [[nodiscard]] std::vector<std::string> writes() const { return writtenKeys(installed_.journal); }

  /// The lines of the log, without their times; none while there is no log, and none that is just
  /// being written.
  [[nodiscard]] std::vector<std::string> logged(const std::string& name = "fantest") const {
    constexpr std::size_t kStamp = 25;
    std::vector<std::string> lines;
    std::istringstream log(logs_.log(name));
    for (std::string line; std::getline(log, line) && !log.eof();) {
      lines.push_back(line.substr(kStamp));
    }
    return lines;
  }

  const TestLogFolder logs_;
  const std::shared_ptr<SteppingClock> clock_ = std::make_shared<SteppingClock>();
  const std::shared_ptr<TestOwner> owner_ = std::make_shared<TestOwner>();
  InstalledMachine installed_;
  std::shared_ptr<QXHalvarin> facade_;
};

}  // namespace halvarin::test
