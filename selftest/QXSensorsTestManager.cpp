#include "selftest/QXSensorsTestManager.h"

#include <utility>

#include "selftest/SensorsVerdict.h"
#include "selftest/TestStatus.h"
#include "sensors/SensorUpdate.h"

namespace halvarin {

std::shared_ptr<QXSensorsTestManager> QXSensorsTestManager::sensorTestManager() {
  return init();
}

std::shared_ptr<QXSensorsTestManager> QXSensorsTestManager::init() {
  std::shared_ptr<QXSensorsTestManager> manager(new QXSensorsTestManager);
  manager->setSmcsensors(QXHalvarin::sharedHalvarin());
  manager->setStatus(std::string(status::kPassed));
  return manager;
}

QXSensorsTestManager::~QXSensorsTestManager() {
  stopObserving();
}

void QXSensorsTestManager::startTesting() {
  const std::shared_ptr<QXHalvarin> facade = smcsensors();
  if (!facade) {
    return;  // no sender to listen to: the center would take none for any
  }
  {
    const MutexLock lock(mutex_);
    observing_.push_back(NotificationCenter::defaultCenter().addObserver(
        kSensorUpdateNotify, facade.get(),
        [weak = weak_from_this()](const Notification& notification) {
          if (const auto manager = weak.lock()) {
            manager->sensorUpdateNotification(notification);
          }
        }));
  }
  facade->requestSensorUpdate();
}

void QXSensorsTestManager::sensorUpdateNotification(const Notification& notification) {
  stopObserving();
  setSamples(notification.userInfo);
  const SensorsVerdict result =
      notification.userInfo ? judgeSensors(*notification.userInfo) : SensorsVerdict();
  if (!result.passed) {
    setStatus(std::string(status::kFailed));
  }
  setDoneTesting(true);
  if (const auto receiver = delegate()) {
    receiver->updateSensorProgress(result.lines);
  }
}

void QXSensorsTestManager::cancel() {
  setSamples(Dictionary::make());
  setStatus(std::string(status::kCanceled));
  setCanceled(true);
}

void QXSensorsTestManager::stopObserving() {
  std::vector<NotificationCenter::Token> tokens;
  {
    const MutexLock lock(mutex_);
    tokens.swap(observing_);
  }
  for (const NotificationCenter::Token token : tokens) {
    NotificationCenter::defaultCenter().removeObserver(token);
  }
}

}  // namespace halvarin
