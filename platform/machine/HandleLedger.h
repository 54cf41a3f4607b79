#pragma once

#include <cstdint>
#include <unordered_set>

#include "base/Mutex.h"
#include "platform/machine/CurrentMachine.h"

namespace halvarin::platform {

/// Gives out the numbers by which the compat calls name services, and counts what is taken and
/// given back. One per process, beside the current machine. Any thread.
class HandleLedger {
 public:
  /// A number for a service that was found; never 0.
  [[nodiscard]] std::uint32_t takeService();
  [[nodiscard]] bool knowsService(std::uint32_t service);
  /// False for a number that is not out.
  [[nodiscard]] bool releaseService(std::uint32_t service);

  void countMatchingMade();
  void countMatchingTaken();
  void countOpened();
  void countClosed();
  [[nodiscard]] HandleCounts counts();

 private:
  Mutex mutex_;
  HandleCounts counts_ HALVARIN_GUARDED_BY(mutex_);
  std::unordered_set<std::uint32_t> services_ HALVARIN_GUARDED_BY(mutex_);
};

/// The process's ledger.
[[nodiscard]] HandleLedger& handleLedger();

}  // namespace halvarin::platform
