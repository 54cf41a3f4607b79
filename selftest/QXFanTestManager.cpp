#include "selftest/QXFanTestManager.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string>
#include <utility>

#include "base/Array.h"
#include "base/Exception.h"
#include "base/NotificationCenter.h"
#include "selftest/FanTestVerdict.h"
#include "selftest/ProcessorHeater.h"
#include "selftest/TestLogWriter.h"
#include "selftest/TestStatus.h"

namespace halvarin {

namespace {

constexpr std::size_t kMostRunning = 3;
constexpr std::chrono::seconds kPace(1);  // between two looks whether another test may start

constexpr std::string_view kStatus = "status";
constexpr std::string_view kLocation = "location";
constexpr std::string_view kResults = "fanTestResults";

}  // namespace

QXFanTestManager::QXFanTestManager()
    : fans_q_("com.quorvane.fansq", platform::Queue::Kind::concurrent),
      read_q_(std::string(kFanReadQueueLabel), platform::Queue::Kind::serial) {}

std::shared_ptr<QXFanTestManager> QXFanTestManager::sharedFTM() {
  static const auto* const shared = new std::shared_ptr<QXFanTestManager>(init());
  return *shared;
}

std::shared_ptr<QXFanTestManager> QXFanTestManager::init() {
  std::shared_ptr<QXFanTestManager> manager(new QXFanTestManager);
  manager->makeFanTests();
  return manager;
}

void QXFanTestManager::makeFanTests() {
  const auto facade = QXHalvarin::sharedHalvarin();
  if (!facade) {
    return;
  }
  Tests tests;
  for (const Value& fan : facade->readFans()->elements()) {
    tests.push_back(QXFanTest::fanTestWithAttribs(*fan.dictionary(), weak_from_this()));
  }
  setFanTests(std::move(tests));
}

void QXFanTestManager::reInitFanTests() {
  setFanTests({});
  makeFanTests();
}

// ---- a batch -----------------------------------------------------------------------------------

void QXFanTestManager::startTesting(const std::shared_ptr<const void>& progress) {
  loadCores(true);
  const Tests tests = fanTests();
  for (const auto& test : tests) {
    test->setStatus(std::string(status::kCanceled));
    test->setEnabled(false);
  }
  fans_running_ = 0;
  setActiveFanTests({});
  doneTesting_ = false;
  for (const auto& test : tests) {
    if (!test->selected()) {
      continue;
    }
    start(test, progress);
    while (activeFanTests().size() >= kMostRunning) {
      static_cast<void>(platform::Semaphore(0).wait(kPace));
    }
    if (doneTesting_) {
      break;
    }
  }
  fantest_group_.notify(fans_q_, [self = shared_from_this()] { self->endBatch(); });
}

void QXFanTestManager::start(const std::shared_ptr<QXFanTest>& test,
                             const std::shared_ptr<const void>& progress) {
  activeFanTests_.update([&test](Tests& active) { active.push_back(test); });
  ++fans_running_;
  fans_q_.async(fantest_group_, [self = shared_from_this(), test, progress] {
    test->startTestWithProgress(progress, [&self](const DictionaryRef& fan) {
      if (const auto receiver = self->delegate()) {
        receiver->updateFanProgress(fan);
      }
    });
    self->activeFanTests_.update([&test](Tests& active) {
      active.erase(std::remove(active.begin(), active.end(), test), active.end());
    });
  });
}

void QXFanTestManager::endBatch() {
  doneTesting_ = true;
  // In place: a copy would keep tests alive that the host, once they are enabled, drops.
  fanTests_.update([](const Tests& tests) {
    for (const auto& test : tests) {
      test->setEnabled(true);
    }
  });
  loadCores(false);
}

void QXFanTestManager::cancel() {
  doneTesting_ = true;
  for (const auto& test : activeFanTests()) {
    test->cancel();
  }
}

void QXFanTestManager::fan_is_running() {
  if (fans_running_-- <= 1) {
    loadCores(false);
  }
}

void QXFanTestManager::loadCores(bool on) {
  halvarin::loadCores(on);
}

// ---- results and selection ---------------------------------------------------------------------

DictionaryRef QXFanTestManager::fanTestResults() const {
  std::vector<Value> entries;
  std::vector<std::string> statuses;
  for (const auto& test : selectedFanTests().value_or(Tests())) {
    statuses.push_back(test->status());
    entries.emplace_back(std::make_shared<Dictionary>(
        Dictionary::Entries{{kLocation, test->fanLocation()}, {kStatus, statuses.back()}}));
  }
  return std::make_shared<Dictionary>(Dictionary::Entries{
      {kStatus, batchVerdict(statuses)}, {kResults, Array::make(std::move(entries))}});
}

std::optional<QXFanTestManager::Tests> QXFanTestManager::selectedFanTests() const {
  Tests tests = fanTests();
  tests.erase(std::remove_if(tests.begin(), tests.end(),
                             [](const auto& test) { return !test->selected(); }),
              tests.end());
  return tests.empty() ? std::nullopt : std::optional(std::move(tests));
}

void QXFanTestManager::selectAllFansToFan(std::int32_t index) {
  const Tests tests = fanTests();
  if (index < 0 || static_cast<std::size_t>(index) >= tests.size()) {
    throw Exception(Exception::kRange, "there is no fan test " + std::to_string(index) + " among " +
                                           std::to_string(tests.size()));
  }
  const bool selected = !tests[static_cast<std::size_t>(index)]->selected();
  for (const auto& test : tests) {
    test->setSelected(selected);
  }
}

void QXFanTestManager::willChangeValueForKey(std::string_view key) {
  if (key == kSelectedFanTests) {
    NotificationCenter::defaultCenter().post(
        {std::string(kSelectedFanTestsWillChange), this, nullptr});
  }
}

void QXFanTestManager::didChangeValueForKey(std::string_view key) {
  if (key == kSelectedFanTests) {
    NotificationCenter::defaultCenter().post(
        {std::string(kSelectedFanTestsDidChange), this, nullptr});
  }
}

void QXFanTestManager::log(std::optional<std::string_view> name,
                           std::optional<std::string_view> entry) {
  appendTestLog(name.value_or(""), entry.value_or(""));
}

}  // namespace halvarin
