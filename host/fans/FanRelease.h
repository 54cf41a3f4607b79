#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/MachineOption.h"
#include "host/fans/FanGuard.h"
#include "sensors/QXHalvarin.h"

// How fans are handed back, by the program and by its guardian. Any thread.

namespace halvarin::host {

/// Hands fans back to automatic control, by their keys alone where the facade refuses, then
/// switches the test flag off if asked to and if no other fan is forced. True when all of it was
/// written and the fans, read again, are not forced any more; false also when nobody can say
/// whether another's fan would drop with the test flag.
[[nodiscard]] bool handBackFans(QXHalvarin& facade, const GuardedFans& forced);

/// The same again and again: a controller that is busy may refuse for a while, and a fan that stays
/// forced is worse than many tries. Quickly for a second and a half, then more slowly for five
/// minutes; false sooner when the system permits it for none that is left, or when the process is
/// gone that served a machine of this kind.
[[nodiscard]] bool handBackPersistently(QXHalvarin& facade, const GuardedFans& forced,
                                        MachineOption::Kind machine);

/// Whether the machine shows that none of the fans is forced; false when it does not say.
[[nodiscard]] bool areSeenAutomatic(const std::vector<std::uint32_t>& fans);

/// Whether it was read just now who commands the fan, where that also says who commands the others.
/// Force bits that were read before may be another's fan by now: they must not be written.
[[nodiscard]] bool isControlRead(std::uint32_t fan);

/// Whether this process knows the key by which the fan is handed back. A key that could not be
/// listed at its start, for the controller was busy, stays unknown to it.
[[nodiscard]] bool canHandBack(std::uint32_t fan);

/// Tells the library that the program is about to end, which a host that forced fans owes it. On
/// machines with force bits the library then clears them all, also those of others, so it is not
/// told while others hold a fan, or may hold one for all that can be read.
void endFanUse(QXHalvarin& facade);

/// Whether the machine wants its test flag on before a fan is forced.
[[nodiscard]] bool hasTestFlag();

/// Whether the test flag is on, or may be for all that can be read.
[[nodiscard]] bool testFlagMayBeOn();

/// What happens to a fan that is found forced by the question why it cannot be commanded: it is
/// handed back, or nothing is written to the key that says so.
enum class Probe { handsBack, leavesForced };

/// Why the key cannot be commanded by which the machine lets a fan be forced: the status of reading
/// it, or of writing what it holds already, less that the fan is forced. 0 when nothing stands in
/// the way.
[[nodiscard]] std::int32_t controlStatus(std::uint32_t fan, Probe probe = Probe::handsBack);

/// Why a command did not work: the status of the platform for one of the keys that it writes, found
/// by writing to them what forces nothing. Absent when nothing stands in the way any more.
[[nodiscard]] std::optional<std::int32_t> fanCommandStatus(std::uint32_t fan,
                                                           Probe probe = Probe::handsBack);

/// The same for a hand-back that did not work.
[[nodiscard]] std::optional<std::int32_t> releaseStatus(const GuardedFans& forced);

}  // namespace halvarin::host
