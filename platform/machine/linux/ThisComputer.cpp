#include "platform/machine/linux/ThisComputer.h"

#include <utility>

#include "base/AtomicProperty.h"
#include "platform/Clock.h"
#include "platform/machine/BareComputer.h"
#include "platform/machine/linux/DiskTree.h"
#include "platform/machine/linux/LinuxMachine.h"
#include "platform/machine/linux/SmcDriver.h"

namespace halvarin::platform {

namespace {

// Null for the computer's own.
AtomicProperty<std::shared_ptr<FileTree>>& chosenFiles() {
  static auto* const files = new AtomicProperty<std::shared_ptr<FileTree>>;
  return *files;
}

std::shared_ptr<Machine> foundComputer() {
  auto files = chosenFiles().get();
  if (!files) {
    files = std::make_shared<DiskTree>();
  }
  if (const auto driver = findSmcDriver(*files)) {
    return std::make_shared<LinuxMachine>(std::move(files), *driver,
                                          std::make_shared<ScaledClock>());
  }
  return std::make_shared<BareComputer>();
}

}  // namespace

std::shared_ptr<Machine> thisComputer() {
  static const auto* const computer = new std::shared_ptr<Machine>(foundComputer());
  return *computer;
}

void placeThisComputerIn(std::shared_ptr<FileTree> files) {
  chosenFiles().set(std::move(files));
}

}  // namespace halvarin::platform
