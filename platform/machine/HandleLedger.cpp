#include "platform/machine/HandleLedger.h"

namespace halvarin::platform {

std::uint32_t HandleLedger::takeService() {
  const MutexLock lock(mutex_);
  const auto service = static_cast<std::uint32_t>(++counts_.servicesFound);
  services_.insert(service);
  return service;
}

bool HandleLedger::knowsService(std::uint32_t service) {
  const MutexLock lock(mutex_);
  return services_.contains(service);
}

bool HandleLedger::releaseService(std::uint32_t service) {
  const MutexLock lock(mutex_);
  if (services_.erase(service) == 0) {
    return false;
  }
  ++counts_.servicesReleased;
  return true;
}

void HandleLedger::countMatchingMade() {
  const MutexLock lock(mutex_);
  ++counts_.matchingsMade;
}

void HandleLedger::countMatchingTaken() {
  const MutexLock lock(mutex_);
  ++counts_.matchingsTaken;
}

void HandleLedger::countOpened() {
  const MutexLock lock(mutex_);
  ++counts_.connectionsOpened;
}

void HandleLedger::countClosed() {
  const MutexLock lock(mutex_);
  ++counts_.connectionsClosed;
}

HandleCounts HandleLedger::counts() {
  const MutexLock lock(mutex_);
  return counts_;
}

HandleLedger& handleLedger() {
  static auto* const ledger = new HandleLedger;
  return *ledger;
}

}  // namespace halvarin::platform
