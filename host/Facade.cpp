#include "host/Facade.h"

#include <IOKit/IOKitLib.h>

#include <algorithm>
#include <iostream>

#include "base/Array.h"
#include "base/PrintableText.h"
#include "base/ScopeGuard.h"
#include "host/Exit.h"
#include "host/LostKeys.h"
#include "host/MachineChoice.h"
#include "smc/KeyRecord.h"

namespace halvarin::host {

std::shared_ptr<QXHalvarin> openDatabase() {
  auto facade = QXHalvarin::sharedHalvarin();
  if (!facade) {
    throw ExitError(Exit::noMachine,
                    "the sensor database inside the library cannot be read; install it anew");
  }
  return facade;
}

void requireAccess(const QXSMCInterface& smc, const Options& options) {
  const DictionaryRef keys = smc.keyDict();
  if (keys && keys->count() > 0) {
    return;
  }
  const io_service_t service =
      IOServiceGetMatchingService(kIOMainPortDefault, IOServiceMatching("AppleSMC"));
  const ScopeGuard releaseService([service] { IOObjectRelease(service); });
  io_connect_t connection = 0;
  const kern_return_t status = IOServiceOpen(service, mach_task_self(), 0, &connection);
  if (status == KERN_SUCCESS) {
    IOServiceClose(connection);
  } else if (service != IO_OBJECT_NULL) {
    refuseUnopened(options, status);
  }
}

std::shared_ptr<QXHalvarin> openFacade(const Options& options) {
  chooseMachine(options);
  auto facade = openDatabase();
  if (!QXSMCInterface::sharedSMC()) {
    refuseWithoutController(options);
  }
  requireAccess(*QXSMCInterface::sharedSMC(), options);
  requireListedKeys(*QXSMCInterface::sharedSMC(), options);
  if (!facade->sensorDict()) {
    std::cerr << "halvarin: the sensor database does not know the model \""
              << printable(facade->machineModel())
              << "\", so only its fans are listed; sensors --all-keys lists every key\n";
  }
  return facade;
}

std::shared_ptr<QXHalvarin> openFacadeForTest(const Options& options) {
  auto facade = openFacade(options);
  const ArrayElements keys = facade->smcKeys()->elements();
  const bool isAnyRead = std::any_of(keys.begin(), keys.end(), [](const Value& key) {
    return key.dictionary()->get(record::kError).intValue() == 0;
  });
  if (!isAnyRead) {
    refuseWithoutController(options);
  }
  return facade;
}

}  // namespace halvarin::host
