#include "host/fans/GuardianCommand.h"

#include <algorithm>
#include <csignal>
#include <iostream>
#include <string>

#include "host/MachineChoice.h"
#include "host/fans/FanGuard.h"
#include "host/fans/FanRelease.h"
#include "host/fans/FanView.h"
#include "sensors/QXHalvarin.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::host {

namespace {

/// It is not known yet which of the fans are going to be forced.
bool canHandAllBack(QXHalvarin& facade) {
  const FansView view = readFansView(facade);
  return !view.fans.empty() &&
         std::all_of(view.fans.begin(), view.fans.end(),
                     [](const FanView& fan) { return canHandBack(fan.index); });
}

/// Signals that may reach a whole group of processes are the program's affair.
void outliveTheProgram() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    std::signal(signal, SIG_IGN);
  }
}

/// "fan 0, fan 2", or the flag alone when the program ended before it forced a fan.
std::string namesOf(const GuardedFans& forced) {
  std::string names;
  for (const std::uint32_t fan : forced.fans) {
    names += (names.empty() ? "fan " : ", fan ") + std::to_string(fan);
  }
  return names.empty() ? "the fans' test flag" : names;
}

void report(bool done, const GuardedFans& forced) {
  std::cerr << "halvarin: the program ended without handing back "
            << namesOf(forced) +
                   (done ? "; that is done now" : ", and that could not be done either")
            << "\n";
}

}  // namespace

Exit runGuardian(const Options& options) {
  outliveTheProgram();
  chooseMachine(options);
  const auto facade = QXHalvarin::sharedHalvarin();
  if (!facade || !QXSMCInterface::sharedSMC()) {
    return Exit::noMachine;
  }
  if (!canHandAllBack(*facade)) {
    std::cerr << "halvarin: the guardian did not find the keys of all fans\n";
    return Exit::ownFailure;
  }
  std::cout << '.' << std::flush;
  GuardedFans forced;
  for (std::string line; std::getline(std::cin, line);) {
    forced.take(line);
  }
  if (forced.fans.empty() && !forced.testFlag) {
    return Exit::fine;
  }
  const bool done = handBackPersistently(*facade, forced, options.machine.kind);
  report(done, forced);
  return done ? Exit::fine : Exit::ownFailure;
}

}  // namespace halvarin::host
