#pragma once

#include <cstdint>
#include <memory>

#include "base/Export.h"
#include "platform/Clock.h"
#include "platform/machine/Machine.h"

namespace halvarin::platform {

/// Chooses the machine that answers the platform's calls in this process, and the clock that it
/// lives by (currentClock), before the first use of a shared instance. A null machine chooses the
/// computer itself again, a null clock the computer's own. Waits that have begun keep the clock
/// they began with. Throws Exception (invalid argument), and changes nothing, for another machine
/// than the computer itself where machineMayBeChosen() says no. Any thread.
HALVARIN_EXPORT void setMachine(std::shared_ptr<Machine> machine,
                                std::shared_ptr<Clock> clock = nullptr);

/// Whether the platform's calls ask the chosen machine. On macOS they are the system's own and ask
/// nobody: a host that believed in a simulated machine would command the fans of the real one.
[[nodiscard]] HALVARIN_EXPORT bool machineMayBeChosen();

/// The chosen machine; without a choice the computer itself. Never null.
[[nodiscard]] HALVARIN_EXPORT std::shared_ptr<Machine> currentMachine();

/// How often the process has taken and given back what the platform counts. A balanced user closes
/// what it opens and releases what it finds.
struct HandleCounts {
  std::uint64_t servicesFound = 0;
  std::uint64_t servicesReleased = 0;
  std::uint64_t connectionsOpened = 0;
  std::uint64_t connectionsClosed = 0;
  std::uint64_t matchingsMade = 0;
  std::uint64_t matchingsTaken = 0;
  std::uint64_t iteratorsMade = 0;
  std::uint64_t iteratorsReleased = 0;
};
[[nodiscard]] HALVARIN_EXPORT HandleCounts handleCounts();

}  // namespace halvarin::platform
