#pragma once

#include <cstdint>
#include <unordered_map>
#include <unordered_set>

#include "base/Mutex.h"
#include "platform/machine/CurrentMachine.h"

namespace halvarin::platform {

/// Gives out the numbers by which the compat calls name services and iterators, and counts what is
/// taken and given back. One per process, beside the current machine. Any thread.
class HandleLedger {
 public:
  /// A number for a service that was found; never 0.
  [[nodiscard]] std::uint32_t takeService();
  [[nodiscard]] bool knowsService(std::uint32_t service);
  /// False for a number that is not out.
  [[nodiscard]] bool releaseService(std::uint32_t service);

  /// A number for an iterator over the one service that a machine has; never 0, nor a service's.
  [[nodiscard]] std::uint32_t takeIterator();
  /// A number for that service the first time; 0 afterwards and for what is no iterator.
  [[nodiscard]] std::uint32_t takeNextService(std::uint32_t iterator);
  /// False for a number that is not out.
  [[nodiscard]] bool releaseIterator(std::uint32_t iterator);

  void countMatchingMade();
  void countMatchingTaken();
  void countOpened();
  void countClosed();
  [[nodiscard]] HandleCounts counts();

 private:
  [[nodiscard]] std::uint32_t newService() HALVARIN_REQUIRES(mutex_);

  Mutex mutex_;
  HandleCounts counts_ HALVARIN_GUARDED_BY(mutex_);
  std::uint32_t lastNumber_ HALVARIN_GUARDED_BY(mutex_) = 0;
  std::unordered_set<std::uint32_t> services_ HALVARIN_GUARDED_BY(mutex_);
  std::unordered_map<std::uint32_t, bool> hasNext_ HALVARIN_GUARDED_BY(mutex_);  // by iterator
};

/// The process's ledger.
[[nodiscard]] HandleLedger& handleLedger();

}  // namespace halvarin::platform
