#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "base/Dictionary.h"
#include "base/Export.h"
#include "base/Value.h"

// The fan self-test as a function: where a run stands and what a fan shows go in; where it stands
// next, what the fan is commanded and the sample's record come out. A run takes a fan to its
// highest speed, waits until it turns, lets it settle, takes it to its least speed, lets it settle,
// hands it back and idles for a while. Speeds are in RPM; a sample is taken every 250 ms.

namespace halvarin {

/// By the numbers that sample records carry.
enum class FanTestState : std::uint32_t {
  init,
  setMin,
  waitSpeed,
  rahMin,
  setMax,
  rahMax,
  automode,
  animateDone,
  done,
  noError,  // never a state of a run: how the exit of one that came to its end is called
};

/// "set_max"; the exit of a run that came to its end is "no error".
[[nodiscard]] HALVARIN_EXPORT std::string_view fanTestStateName(FanTestState state);

/// What a sample takes from a fan's dictionary (sensors/FanRecord.h).
struct FanReading {
  std::int32_t mode = 0;
  std::int32_t minRpm = 0;  // truncated, as are the highest speed and the target
  std::int32_t maxRpm = 0;
  std::int32_t targetRpm = 0;
  double speedRpm = 0;
  Value temp;  // as it stands in the dictionary
};

[[nodiscard]] FanReading fanReading(const Dictionary& fan);

/// How many samples a run waits in a state: to take a command, to settle, to idle; and for a fan to
/// start turning.
inline constexpr std::int32_t kFanTestSamples = 32;
inline constexpr std::int32_t kFanTestSpinUpSamples = 480;

/// Where a run stands between two samples; as it is made, before the first.
struct FanTestRun {
  FanTestState state = FanTestState::init;
  FanTestState previousState = FanTestState::init;
  std::int32_t counter = kFanTestSamples;  // samples left in the state
  FanTestState exitState = FanTestState::noError;
  std::int32_t sample = 0;      // sequence number of the next one
  std::int32_t lastSetRpm = 0;  // 0 until the run has commanded a speed
  bool reached = false;         // at the speed last set, or just past it
  bool hitMax = false;          // seen at its highest speed
  bool hitMin = false;
  std::int32_t measuredMaxRpm = 0;
  std::int32_t measuredMinRpm = 0;
  bool turned = false;
  double previousDeviationRpm = 0;  // speed less speed last set, of the sample before

  friend bool operator==(const FanTestRun&, const FanTestRun&) = default;
};

/// What a sample has done with the fan, in this order.
struct FanTestCommands {
  std::optional<std::int32_t> forceToRpm;  // mode 1, then this target
  bool handBack = false;                   // mode 0
  bool reportRunning = false;              // it is under automatic control again

  friend bool operator==(const FanTestCommands&, const FanTestCommands&) = default;
};

struct FanTestStep {
  FanTestRun run;  // ended once its state is done
  FanTestCommands commands;
  DictionaryRef sample;  // "sample", "state", "dstate", "mode", "target", "speed", "hitmax",
                         // "hitmin", "temp"; the flags as they stood before this sample
};

/// Takes one sample of a run that has not ended. Deliberate asymmetries: a set state takes a target
/// that is less than 50 away for its own, a settle state commands again from 51 on; a state that
/// sets or waits lasts until its counter is 0, one that settles until it is 1, and the sample that
/// captures the measured speed does not count there (a captured speed below 1 counts as none, and
/// is captured again).
[[nodiscard]] FanTestStep takeFanTestSample(const FanTestRun& run, const FanReading& reading);

/// The most samples that a run can still take as long as no captured speed truncates to 0; 0 once
/// it ended.
[[nodiscard]] std::int32_t mostFanTestSamplesLeft(const FanTestRun& run);

}  // namespace halvarin
