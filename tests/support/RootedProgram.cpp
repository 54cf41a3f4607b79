// Linked to the program's own objects: the program, but for the folder that its logs lie under, for
// the computer that it takes for its own, and for the time on that computer.

#include <cstdlib>
#include <memory>
#include <string>

#include "platform/Clock.h"
#include "platform/machine/CurrentMachine.h"
#include "platform/machine/linux/DiskTree.h"
#include "platform/machine/linux/ThisComputer.h"
#include "selftest/TestLogPlace.h"
#include "tests/support/ScriptedDriver.h"

namespace {

/// What lies under the root: plain files, or a driver that behaves. Never the computer's own files,
/// also when a test forgets to say where: its fans are no test's.
std::shared_ptr<halvarin::platform::FileTree> filesUnder(const char* root) {
  const std::string folder = root != nullptr ? root : "/nowhere";
  if (halvarin::test::ScriptedDriver::isIn(folder)) {
    return std::make_shared<halvarin::test::ScriptedDriver>(folder);
  }
  return std::make_shared<halvarin::platform::DiskTree>(folder);
}

[[maybe_unused]] const bool kIsPlaced = [] {
  const char* root = std::getenv("HALVARIN_TEST_LOG_ROOT");
  // Never the computer's own logs, also when a test forgets to say where.
  halvarin::placeTestLogsUnder(root != nullptr ? root : "/nowhere");
  const char* computer = std::getenv("HALVARIN_TEST_COMPUTER");
  halvarin::platform::placeThisComputerIn(filesUnder(computer));
  if (computer != nullptr) {
    // The program looks after a forced fan for seconds before it says how that turns.
    constexpr double kTimesFaster = 10;
    halvarin::platform::setMachine(halvarin::platform::thisComputer(),
                                   std::make_shared<halvarin::platform::ScaledClock>(kTimesFaster));
  }
  return true;
}();

}  // namespace
