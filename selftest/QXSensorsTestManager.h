#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/AtomicProperty.h"
#include "base/Dictionary.h"
#include "base/Export.h"
#include "base/Mutex.h"
#include "base/NotificationCenter.h"
#include "sensors/QXHalvarin.h"

namespace halvarin {

/// The description of the sensor that the self-test passes over: the graphics unit inside some
/// processors, switched off whenever another one is in use.
inline constexpr std::string_view kUntestedSensor = "CPU AXG";

/// Receives what a sensor self-test has to show.
class HALVARIN_EXPORT SensorsTestDelegate {
 public:
  virtual ~SensorsTestDelegate() = default;

  /// Called once a test, on the main thread, with a line for each tested sensor; the test's
  /// `status` and `doneTesting` are set by then.
  virtual void updateSensorProgress(const std::vector<std::string>& lines) = 0;
};

/// One sensor self-test: asks the facade for one update pass and judges every reading of it but the
/// fans'. Each test takes a fresh manager, which the host keeps until the test is done; one that is
/// dropped before hears nothing. Any thread; the test itself runs on the main thread.
class HALVARIN_EXPORT QXSensorsTestManager
    : public std::enable_shared_from_this<QXSensorsTestManager> {
 public:
  /// A new manager at every call.
  [[nodiscard]] static std::shared_ptr<QXSensorsTestManager> sensorTestManager();

  /// A manager before its test: status "Passed", on the shared facade.
  [[nodiscard]] static std::shared_ptr<QXSensorsTestManager> init();

  ~QXSensorsTestManager();
  QXSensorsTestManager(const QXSensorsTestManager&) = delete;
  QXSensorsTestManager& operator=(const QXSensorsTestManager&) = delete;

  /// Waits for the next update notification of the facade, asks it for an update and returns at
  /// once. Without a facade no test will run.
  void startTesting();

  /// Takes a notification of the facade as the readings to test: ends the waiting, sets `samples`,
  /// `status` and `doneTesting` and calls the delegate. Deliberate: does so after `cancel` too.
  void sensorUpdateNotification(const Notification& notification);

  /// Sets `samples` to an empty dictionary, `status` to "Canceled" and `canceled`. Deliberate: a
  /// notification that is under way still runs the test, and a failing reading makes it "Failed".
  void cancel();

  /// For hosts that show the end of a test; sets `doneTesting`.
  void animationDidFinish() { setDoneTesting(true); }

  [[nodiscard]] bool canceled() const { return canceled_; }
  void setCanceled(bool value) { canceled_ = value; }

  /// The facade, null when it could not be had.
  [[nodiscard]] std::shared_ptr<QXHalvarin> smcsensors() const { return smcsensors_.get(); }
  void setSmcsensors(std::shared_ptr<QXHalvarin> value) { smcsensors_.set(std::move(value)); }

  /// Whether the lines have been delivered.
  [[nodiscard]] bool doneTesting() const { return doneTesting_; }
  void setDoneTesting(bool value) { doneTesting_ = value; }

  /// "Passed", "Failed" or "Canceled"; the verdict once `doneTesting` is set.
  [[nodiscard]] std::string status() const { return status_.get(); }
  void setStatus(std::string value) { status_.set(std::move(value)); }

  /// The readings under test, as the notification brought them; null before.
  [[nodiscard]] DictionaryRef samples() const { return samples_.get(); }
  void setSamples(DictionaryRef value) { samples_.set(std::move(value)); }

  /// Not kept alive by the manager; null when it is gone.
  [[nodiscard]] std::shared_ptr<SensorsTestDelegate> delegate() const {
    return delegate_.get().lock();
  }
  void setDelegate(std::weak_ptr<SensorsTestDelegate> value) { delegate_.set(std::move(value)); }

 private:
  QXSensorsTestManager() = default;
  void stopObserving();

  std::atomic<bool> doneTesting_ = false;
  std::atomic<bool> canceled_ = false;
  AtomicProperty<std::weak_ptr<SensorsTestDelegate>> delegate_;
  AtomicProperty<std::string> status_;
  AtomicProperty<DictionaryRef> samples_;
  AtomicProperty<std::shared_ptr<QXHalvarin>> smcsensors_;
  Mutex mutex_;
  std::vector<NotificationCenter::Token> observing_ HALVARIN_GUARDED_BY(mutex_);
};

}  // namespace halvarin
