#include "platform/machine/HandleLedger.h"

#include <utility>

namespace halvarin::platform {

std::uint32_t HandleLedger::takeService() {
  const MutexLock lock(mutex_);
  return newService();
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

std::uint32_t HandleLedger::takeIterator() {
  const MutexLock lock(mutex_);
  ++counts_.iteratorsMade;
  hasNext_[++lastNumber_] = true;
  return lastNumber_;
}

std::uint32_t HandleLedger::takeNextService(std::uint32_t iterator) {
  const MutexLock lock(mutex_);
  const auto found = hasNext_.find(iterator);
  return found != hasNext_.end() && std::exchange(found->second, false) ? newService() : 0;
}

bool HandleLedger::releaseIterator(std::uint32_t iterator) {
  const MutexLock lock(mutex_);
  if (hasNext_.erase(iterator) == 0) {
    return false;
  }
  ++counts_.iteratorsReleased;
  return true;
}

std::uint32_t HandleLedger::newService() {
  ++counts_.servicesFound;
  services_.insert(++lastNumber_);
  return lastNumber_;
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
