#pragma once

#include <string_view>

// Warmth for a test of the fans.

namespace halvarin {

/// The label of the concurrent queue that the heater's jobs go to.
inline constexpr std::string_view kHeaterQueueLabel = "com.quorvane.fanstress";

/// Starts the heater, which keeps all logical processors but one busy until it is stopped, or stops
/// it. Comes back at once. Where the processor or the number of processors is not known nothing is
/// started. Any thread.
///
/// Deliberate: only a processor whose name begins with "Apple M" is heated; on another one neither
/// starting nor stopping does anything. One processor is left free; a machine with a single one is
/// not heated, though the heater is on. The heater is one for the process: started twice it has
/// twice the jobs, one stop ends them all, and a job that has not yet seen the stop goes on when
/// the next start comes first.
void loadCores(bool on);

/// Whether the heater is on. Any thread.
[[nodiscard]] bool isHeaterOn();

/// One job: keeps the calling thread busy until the heater is off; does nothing when it is off now.
void heatWhileOn();

}  // namespace halvarin
