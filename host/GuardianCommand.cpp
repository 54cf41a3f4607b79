#include "host/GuardianCommand.h"

#include <chrono>
#include <csignal>
#include <iostream>
#include <string>

#include "host/FanControl.h"
#include "host/FanGuard.h"
#include "host/MachineChoice.h"
#include "platform/Queue.h"
#include "sensors/QXHalvarin.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::host {

namespace {

/// Signals that may reach a whole group of processes are the program's affair.
void outliveTheProgram() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    std::signal(signal, SIG_IGN);
  }
}

/// A controller that is busy may refuse once; a fan that stays forced is worse than a second try.
bool handBackPersistently(QXHalvarin& facade, const GuardedFans& forced) {
  constexpr int kTries = 15;
  constexpr auto kPause = std::chrono::milliseconds(100);
  platform::Semaphore never(0);
  for (int i = 0; i < kTries; ++i) {
    if (handBackFans(facade, forced)) {
      return true;
    }
    static_cast<void>(never.wait(kPause));
  }
  return false;
}

void report(bool done, const GuardedFans& forced) {
  std::string names;
  for (const std::uint32_t fan : forced.fans) {
    names += (names.empty() ? "" : ", ") + std::to_string(fan);
  }
  std::cerr << (done ? "halvarin: the program ended without handing back; automatic again: fan "
                     : "halvarin: the program ended and this could not be handed back: fan ")
            << names << "\n";
}

}  // namespace

Exit runGuardian(const Options& options) {
  outliveTheProgram();
  chooseMachine(options);
  const auto facade = QXHalvarin::sharedHalvarin();
  if (!facade || !QXSMCInterface::sharedSMC()) {
    return Exit::noMachine;
  }
  std::cout << '.' << std::flush;
  GuardedFans forced;
  for (std::string line; std::getline(std::cin, line);) {
    forced.take(line);
  }
  if (forced.fans.empty() && !forced.testFlag) {
    return Exit::fine;
  }
  const bool done = handBackPersistently(*facade, forced);
  report(done, forced);
  return done ? Exit::fine : Exit::ownFailure;
}

}  // namespace halvarin::host
