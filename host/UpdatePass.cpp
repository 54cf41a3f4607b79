#include "host/UpdatePass.h"

#include "base/NotificationCenter.h"
#include "base/ScopeGuard.h"
#include "platform/MainThread.h"
#include "sensors/SensorUpdate.h"

namespace halvarin::host {

DictionaryRef nextUpdatePass(QXHalvarin& facade) {
  DictionaryRef pass;
  NotificationCenter& center = NotificationCenter::defaultCenter();
  const auto token =
      center.addObserver(kSensorUpdateNotify, &facade, [&pass](const Notification& notification) {
        pass = notification.userInfo;
        platform::MainThread::stop();
      });
  const ScopeGuard forget([&] { center.removeObserver(token); });
  facade.requestSensorUpdate();
  platform::MainThread::run();
  return pass;
}

}  // namespace halvarin::host
