#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "selftest/FanTestMachine.h"

// Fans, and runs of the fan self-test at one of their samples.

namespace halvarin {

inline void PrintTo(FanTestState state, std::ostream* out) {
  *out << fanTestStateName(state);
}

inline void PrintTo(const FanTestRun& run, std::ostream* out) {
  *out << fanTestStateName(run.state) << " after " << fanTestStateName(run.previousState)
       << ", counter " << run.counter << ", exit " << fanTestStateName(run.exitState) << ", sample "
       << run.sample << ", last set " << run.lastSetRpm << ", reached " << run.reached
       << ", hit max " << run.hitMax << " min " << run.hitMin << ", measured max "
       << run.measuredMaxRpm << " min " << run.measuredMinRpm << ", turned " << run.turned
       << ", previous deviation " << run.previousDeviationRpm;
}

inline void PrintTo(const FanTestCommands& commands, std::ostream* out) {
  *out << (commands.forceToRpm ? "force to " + std::to_string(*commands.forceToRpm) : "no force")
       << ", hand back " << commands.handBack << ", report running " << commands.reportRunning;
}

namespace test {

constexpr std::int32_t kMinRpm = 1200;
constexpr std::int32_t kMaxRpm = 6000;

/// A fan of 1200 to 6000 RPM that turns at 4000.
inline FanReading fanShowing(std::int32_t mode, std::int32_t targetRpm, double speedRpm = 4000) {
  return {mode, kMinRpm, kMaxRpm, targetRpm, speedRpm, "45.00"};
}

/// A run at its eighth sample, at none of the speeds it set: 3000 is the last, and 4000 is not
/// near. What the rows of its states leave alone differs from what a new run has.
inline FanTestRun runIn(FanTestState state, std::int32_t counter) {
  FanTestRun run;
  run.state = state;
  run.counter = counter;
  run.sample = 7;
  run.lastSetRpm = 3000;
  run.hitMax = true;
  run.hitMin = true;
  run.measuredMaxRpm = 5990;
  run.measuredMinRpm = 1210;
  run.turned = true;
  run.previousDeviationRpm = 1000;
  return run;
}

/// The run with what every sample changes, whatever its state.
inline FanTestRun sampled(FanTestRun run, const FanReading& fan) {
  run.previousDeviationRpm = fan.speedRpm - run.lastSetRpm;
  run.previousState = run.state;
  ++run.sample;
  return run;
}

inline FanTestCommands forceTo(std::int32_t rpm) {
  FanTestCommands commands;
  commands.forceToRpm = rpm;
  return commands;
}

}  // namespace test
}  // namespace halvarin
