#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "base/AtomicProperty.h"
#include "base/Dictionary.h"
#include "base/Export.h"
#include "platform/Queue.h"
#include "selftest/FanTestOwner.h"
#include "selftest/QXFanTest.h"

namespace halvarin {

/// Posted on the default notification center, by the manager and on the thread that selects, before
/// and after the selection of a fan changes.
inline constexpr std::string_view kSelectedFanTestsWillChange = "selectedFanTestsWillChange";
inline constexpr std::string_view kSelectedFanTestsDidChange = "selectedFanTestsDidChange";

/// Receives every reading of the fans under test.
class HALVARIN_EXPORT FanTestDelegate {
 public:
  virtual ~FanTestDelegate() = default;

  /// A fan's dictionary (sensors/FanRecord.h). Called by the threads of the tests, up to three at
  /// once; a test waits until it comes back.
  virtual void updateFanProgress(const DictionaryRef& fan) = 0;
};

/// The fan self-test of the machine: a test for every fan, those that are selected run at most
/// three at a time, their readings one after another. While they run, processors whose brand begins
/// with "Apple M" are heated, all but one. Any thread; one batch at a time.
///
/// A batch does not release every fan (QXFanTest.h): call `reInitFanTests` once the results are
/// read.
class HALVARIN_EXPORT QXFanTestManager : public FanTestOwner,
                                         public std::enable_shared_from_this<QXFanTestManager> {
 public:
  using Tests = std::vector<std::shared_ptr<QXFanTest>>;

  /// The process's instance, made at the first call and kept for ever.
  [[nodiscard]] static std::shared_ptr<QXFanTestManager> sharedFTM();

  /// A new manager with a test for each fan that the shared facade reads now. Hosts use
  /// `sharedFTM`.
  [[nodiscard]] static std::shared_ptr<QXFanTestManager> init();

  /// Drops the tests, which hands their fans back, and makes new ones from a fresh reading. A test
  /// that is still running is dropped when it has ended.
  void reInitFanTests();

  /// Starts the selected tests and returns when the last of them has been started, which takes as
  /// long as more than three need: it waits in steps of a second. Every test's status is "Canceled"
  /// until it has one, those that are not selected included. `progress` is kept alive for the
  /// batch.
  void startTesting(const std::shared_ptr<const void>& progress);

  /// Ends the batch: starts no more tests and cancels those that run. Deliberate: `doneTesting` is
  /// set at once, and a test that is just about to begin runs to its end.
  void cancel();

  /// "status" and "fanTestResults", an array with "location" and "status" of each selected test.
  /// Deliberate: a fan's "Timeout" is a "Failed" of the whole; "Passed" without a selected test.
  [[nodiscard]] DictionaryRef fanTestResults() const;

  /// The selected tests; absent when there are none.
  [[nodiscard]] std::optional<Tests> selectedFanTests() const;

  /// Gives every test the opposite of what the test at that place of `fanTests` has. Throws
  /// `Exception` for a place that is not there.
  void selectAllFansToFan(std::int32_t index);

  /// Starts or stops the heating (selftest/ProcessorHeater.h).
  void loadCores(bool on);

  [[nodiscard]] platform::Queue read_queue() const override { return read_q_; }
  void fan_is_running() override;
  void willChangeValueForKey(std::string_view key) override;
  void didChangeValueForKey(std::string_view key) override;

  /// See QXFanTest::log.
  static void log(std::optional<std::string_view> name, std::optional<std::string_view> entry);

  /// Whether a batch has ended or was canceled.
  [[nodiscard]] bool doneTesting() const { return doneTesting_; }
  void setDoneTesting(bool value) { doneTesting_ = value; }

  /// Not kept alive by the manager; null when it is gone.
  [[nodiscard]] std::shared_ptr<FanTestDelegate> delegate() const { return delegate_.get().lock(); }
  void setDelegate(std::weak_ptr<FanTestDelegate> value) { delegate_.set(std::move(value)); }

  /// One for each fan, in the facade's order.
  [[nodiscard]] Tests fanTests() const { return fanTests_.get(); }
  void setFanTests(Tests value) { fanTests_.set(std::move(value)); }

  /// The tests of the batch that are still running.
  [[nodiscard]] Tests activeFanTests() const { return activeFanTests_.get(); }
  void setActiveFanTests(Tests value) { activeFanTests_.set(std::move(value)); }

 private:
  QXFanTestManager();
  void makeFanTests();
  void start(const std::shared_ptr<QXFanTest>& test, const std::shared_ptr<const void>& progress);
  void endBatch();

  const platform::Group fantest_group_;
  const platform::Queue fans_q_;
  const platform::Queue read_q_;
  std::atomic<std::int32_t> fans_running_ = 0;
  std::atomic<bool> doneTesting_ = false;
  AtomicProperty<std::weak_ptr<FanTestDelegate>> delegate_;
  AtomicProperty<Tests> fanTests_;
  AtomicProperty<Tests> activeFanTests_;
};

}  // namespace halvarin
