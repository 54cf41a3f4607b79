#include "host/Facade.h"

#include <algorithm>
#include <iostream>

#include "base/Array.h"
#include "base/PrintableText.h"
#include "host/Exit.h"
#include "host/MachineChoice.h"
#include "smc/KeyRecord.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::host {

std::shared_ptr<QXHalvarin> openDatabase() {
  auto facade = QXHalvarin::sharedHalvarin();
  if (!facade) {
    throw ExitError(Exit::noMachine,
                    "the sensor database inside the library cannot be read; install it anew");
  }
  return facade;
}

std::shared_ptr<QXHalvarin> openFacade(const Options& options) {
  chooseMachine(options);
  auto facade = openDatabase();
  if (!QXSMCInterface::sharedSMC()) {
    refuseWithoutController(options);
  }
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
