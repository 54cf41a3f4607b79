#pragma once

#include <cstdint>

#include "smc/QXSMCInterface.h"

// The writes that change how fans run. Each reads afresh what it needs to know, writes at most
// once, keeps nothing, and is true only when the one write was made and succeeded. What was written
// stays until another write: to hand a fan back is the caller's job. Any thread; block for their
// transfers.

namespace halvarin {

/// Switches the machine-wide fan test flag. False without a write on machines without the flag.
[[nodiscard]] bool switchFanTestFlag(QXSMCInterface& smc, bool enable);

/// Forces a fan (1) or hands it back to automatic control (0): through the fan's mode key, upper
/// case before lower case, and only on machines that have neither through its bit of the force
/// bits. Two threads that change force bits at the same time can lose one of the changes.
[[nodiscard]] bool writeFanMode(QXSMCInterface& smc, signed char mode, std::uint32_t fan);

/// Sets a fan's target speed in RPM, in the key's own type: "flt ", "fpe2" or "ui16"; false for any
/// other. Neither the fan's limits nor the range of the type are looked at: on the two fixed-point
/// types a speed above 16383 loses its high bits.
[[nodiscard]] bool writeFanTarget(QXSMCInterface& smc, std::uint16_t speed, std::uint32_t fan);

}  // namespace halvarin
