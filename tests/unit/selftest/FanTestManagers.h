#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <initializer_list>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/Mutex.h"
#include "selftest/QXFanTestManager.h"
#include "tests/support/Until.h"
#include "tests/unit/selftest/FanTests.h"

namespace halvarin::test {

/// So many fans, each with a mode key.
inline platform::RecordedMachine machineOf(std::uint8_t fans) {
  std::vector<platform::RecordedKey> keys;
  for (std::uint8_t i = 0; i < fans; ++i) {
    const std::string fan = "F" + std::to_string(i);
    keys.push_back(key(fan + "Ac", "fpe2", {0x1F, 0x40}));
    keys.push_back(key(fan + "Md", "ui8 ", {0}));
    keys.push_back(key(fan + "Mn", "fpe2", {0x12, 0xC0}));
    keys.push_back(key(fan + "Mx", "fpe2", {0x5D, 0xC0}));
    keys.push_back(key(fan + "Tg", "fpe2", {0x1F, 0x40}));
  }
  keys.push_back(key("FNum", "ui8 ", {fans}));
  keys.push_back(key("TC0P", "sp78", {0x2D, 0}));
  return machineWith(std::move(keys));
}

/// Keeps which fans it heard of, and how many tests ran then at most.
class Listener : public FanTestDelegate {
 public:
  explicit Listener(const std::shared_ptr<QXFanTestManager>& manager) : manager_(manager) {}
  void updateFanProgress(const DictionaryRef& fan) override {
    const auto manager = manager_.lock();
    const MutexLock lock(mutex_);
    heard_.insert(fan->get("index").intValue());
    most_ = std::max(most_, manager ? manager->activeFanTests().size() : 0);
  }
  [[nodiscard]] std::set<int> heard() const {
    const MutexLock lock(mutex_);
    return heard_;
  }
  [[nodiscard]] std::size_t most() const {
    const MutexLock lock(mutex_);
    return most_;
  }

 private:
  const std::weak_ptr<QXFanTestManager> manager_;
  mutable Mutex mutex_;
  std::set<int> heard_ HALVARIN_GUARDED_BY(mutex_);
  std::size_t most_ HALVARIN_GUARDED_BY(mutex_) = 0;
};

/// A manager on a machine whose time runs faster.
class FanTestManager : public FanTestCase {
 protected:
  static constexpr int kFactor = 100;

  void start(platform::RecordedMachine machine, std::vector<platform::FanFault> faults = {},
             int factor = kFactor) {
    embedDatabase(databaseOf(machine.model.c_str(), {{"TC0P", "CPU proximity"}}));
    platform::Simulation simulation;
    simulation.fanFaults = std::move(faults);
    simulation.clock = std::make_shared<platform::ScaledClock>(factor);
    const auto clock = simulation.clock;
    installed_ = install(std::move(machine), std::move(simulation));
    platform::setMachine(installed_.machine, clock);
    manager_ = QXFanTestManager::sharedFTM();
    listener_ = std::make_shared<Listener>(manager_);
    manager_->setDelegate(listener_);
    installed_.journal->clear();
  }
  /// Starts the batch beside the test.
  void startInBackground() {
    starter_.async([this] {
      manager_->startTesting(nullptr);
      isStarted_ = true;
    });
  }
  [[nodiscard]] bool ends() {
    return becomesTrue(std::chrono::seconds(60), [this] { return isStarted_ && allEnabled(); });
  }
  void runBatch() {
    startInBackground();
    ASSERT_TRUE(ends());
  }
  [[nodiscard]] bool allEnabled() const {
    const auto tests = manager_->fanTests();
    return std::all_of(tests.begin(), tests.end(),
                       [](const auto& test) { return test->enabled(); });
  }
  void select(std::initializer_list<std::size_t> places) {
    const auto tests = manager_->fanTests();
    for (std::size_t i = 0; i < tests.size(); ++i) {
      tests[i]->setSelected(std::find(places.begin(), places.end(), i) != places.end());
    }
  }
  [[nodiscard]] std::string overall() const {
    return manager_->fanTestResults()->get("status").text().string();
  }
  /// "location: status" of each entry.
  [[nodiscard]] std::vector<std::string> entries() const {
    std::vector<std::string> all;
    for (const Value& each :
         manager_->fanTestResults()->get("fanTestResults").array()->elements()) {
      EXPECT_EQ(each.dictionary()->count(), 2U);
      all.push_back(each.dictionary()->get("location").text().string() + ": " +
                    each.dictionary()->get("status").text().string());
    }
    return all;
  }

  std::shared_ptr<QXFanTestManager> manager_;
  std::shared_ptr<Listener> listener_;
  std::atomic<bool> isStarted_ = false;
  const platform::Queue starter_{"starter", platform::Queue::Kind::serial};
};

}  // namespace halvarin::test
