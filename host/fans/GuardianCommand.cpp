#include "host/fans/GuardianCommand.h"

#include <algorithm>
#include <csignal>
#include <iostream>
#include <string>
#include <vector>

#include "host/LostKeys.h"
#include "host/MachineChoice.h"
#include "host/fans/FanGuard.h"
#include "host/fans/FanRelease.h"
#include "sensors/QXHalvarin.h"
#include "smc/QXSMCInterface.h"

namespace halvarin::host {

namespace {

/// Whether the guardian knows the keys by which these fans are handed back. One that was lost at
/// listing may also be the key that would be tried first.
bool canHandAllBack(const Options& options) {
  const std::vector<std::uint32_t>& fans = options.guardedFans;
  return std::all_of(fans.begin(), fans.end(), canHandBack) &&
         !lostKeys(*QXSMCInterface::sharedSMC(), options).mayConcernFans();
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
  if (!canHandAllBack(options)) {
    std::cerr << "halvarin: the guardian did not find the keys of the fans\n";
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
