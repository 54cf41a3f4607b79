// A host with a loop of its own: takes three live updates of the simulated laptop and shows what
// its fans do. Built as list_sensors.cpp is.

#include <poll.h>

#include <iostream>
#include <memory>

#include "base/Array.h"
#include "base/NotificationCenter.h"
#include "platform/MainThread.h"
#include "platform/machine/BuiltInMachine.h"
#include "platform/machine/CurrentMachine.h"
#include "platform/machine/SimulatedMachine.h"
#include "sensors/FanRecord.h"
#include "sensors/QXHalvarin.h"
#include "sensors/SensorUpdate.h"

namespace {

void showFans(const halvarin::Notification& notification) {
  const auto fans = notification.userInfo->get(halvarin::update::kFans).array();
  for (const halvarin::Value& each : fans->elements()) {
    const auto fan = each.dictionary();
    std::cout << fan->get(halvarin::fan::kLocation).text().view() << "  "
              << fan->get(halvarin::fan::kSpeed).intValue() << " RPM\n";
  }
}

}  // namespace

int main() {
  using namespace halvarin;

  platform::setMachine(std::make_shared<platform::SimulatedMachine>(platform::builtInLaptop()));
  const auto facade = QXHalvarin::sharedHalvarin();
  if (!facade) {
    std::cerr << "the sensor database cannot be read\n";
    return 1;
  }
  static_cast<void>(
      NotificationCenter::defaultCenter().addObserver(kSensorUpdateNotify, facade.get(), showFans));
  for (int i = 0; i < 3; ++i) {
    facade->requestSensorUpdate();  // returns at once; the reading goes on in the background
    pollfd work{platform::MainThread::descriptor(), POLLIN, 0};
    poll(&work, 1, -1);  // a real host waits for its other events here too
    platform::MainThread::performPending();
  }
  return 0;
}
