#include "selftest/FanTestMachine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>

#include "sensors/FanRecord.h"

namespace halvarin {

namespace {

constexpr std::int32_t kForced = 1;     // a fan's mode while a program commands it
constexpr std::int32_t kAutomatic = 0;  // its mode under automatic control, one of two
constexpr std::int32_t kAutomaticToo = 3;

std::int64_t distance(std::int32_t a, std::int32_t b) {
  return std::abs(std::int64_t{a} - b);
}

/// Whether the fan shows that it has taken the command.
bool hasTaken(const FanReading& reading, std::int32_t rpm) {
  return reading.mode == kForced && distance(reading.targetRpm, rpm) < 50;
}

bool hasLost(const FanReading& reading, std::int32_t rpm) {
  return distance(reading.targetRpm, rpm) >= 51;
}

/// Truncated, and held at the ends of the range; not-a-number is 0.
std::int32_t wholeRpm(double speed) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (std::isnan(speed)) {
    return 0;
  }
  return static_cast<std::int32_t>(
      std::clamp(speed, static_cast<double>(Limits::min()), static_cast<double>(Limits::max())));
}

/// The one that a run is at: its highest speed, or its least.
struct Goal {
  FanTestState settle;
  FanTestState next;
  std::int32_t counterToSettle;
  bool FanTestRun::*hit;
  std::int32_t FanTestRun::*measuredRpm;
  std::int32_t FanReading::*rpm;
};

// Deliberate: after the highest speed was set the run waits for the fan to turn, after the least it
// settles at once.
constexpr Goal kHighest{FanTestState::waitSpeed, FanTestState::setMin,        kFanTestSpinUpSamples,
                        &FanTestRun::hitMax,     &FanTestRun::measuredMaxRpm, &FanReading::maxRpm};
constexpr Goal kLeast{FanTestState::rahMin, FanTestState::automode,      kFanTestSamples,
                      &FanTestRun::hitMin,  &FanTestRun::measuredMinRpm, &FanReading::minRpm};

void enter(FanTestRun& run, FanTestState state, std::int32_t counter) {
  run.state = state;
  run.counter = counter;
}

void setSpeed(const Goal& goal, const FanReading& reading, FanTestStep& step) {
  FanTestRun& run = step.run;
  const std::int32_t rpm = reading.*goal.rpm;
  if (hasTaken(reading, rpm) || run.counter <= 0) {
    enter(run, goal.settle, goal.counterToSettle);
    return;
  }
  step.commands.forceToRpm = rpm;
  --run.counter;
  run.*goal.hit = false;
  run.lastSetRpm = rpm;
  run.reached = false;
}

void waitForSpeed(const FanReading& reading, FanTestStep& step) {
  FanTestRun& run = step.run;
  if (reading.speedRpm > 0) {
    run.turned = true;
    enter(run, FanTestState::rahMax, kFanTestSamples);
    return;
  }
  if (run.counter <= 0) {
    run.exitState = FanTestState::waitSpeed;
    run.state = FanTestState::done;
  }
  --run.counter;
}

void settle(const Goal& goal, const FanReading& reading, FanTestStep& step) {
  FanTestRun& run = step.run;
  const std::int32_t rpm = reading.*goal.rpm;
  std::int32_t& measured = run.*goal.measuredRpm;
  if (run.reached && measured == 0) {
    measured = wholeRpm(reading.speedRpm);
    run.*goal.hit = true;
  } else if (run.counter <= 1) {
    measured = measured == 0 ? wholeRpm(reading.speedRpm) : measured;
    enter(run, goal.next, kFanTestSamples);
  } else {
    --run.counter;
    if (hasLost(reading, rpm)) {
      step.commands.forceToRpm = rpm;
    }
  }
}

void handBack(const FanReading& reading, FanTestStep& step) {
  FanTestRun& run = step.run;
  if (run.counter <= 0 || reading.mode == kAutomaticToo || reading.mode == kAutomatic) {
    step.commands.reportRunning = true;
    enter(run, FanTestState::animateDone, kFanTestSamples);
    return;
  }
  step.commands.handBack = true;
  --run.counter;
}

void idle(FanTestRun& run) {
  if (run.counter <= 0) {
    run.state = FanTestState::done;
  }
  --run.counter;
}

void advance(const FanReading& reading, FanTestStep& step) {
  switch (step.run.state) {
    case FanTestState::init:
      return enter(step.run, FanTestState::setMax, kFanTestSamples);
    case FanTestState::setMax:
      return setSpeed(kHighest, reading, step);
    case FanTestState::waitSpeed:
      return waitForSpeed(reading, step);
    case FanTestState::rahMax:
      return settle(kHighest, reading, step);
    case FanTestState::setMin:
      return setSpeed(kLeast, reading, step);
    case FanTestState::rahMin:
      return settle(kLeast, reading, step);
    case FanTestState::automode:
      return handBack(reading, step);
    case FanTestState::animateDone:
      return idle(step.run);
    case FanTestState::done:
    case FanTestState::noError:
      return;
  }
}

DictionaryRef recordOf(const FanTestRun& run, const FanReading& reading) {
  const auto number = static_cast<std::int32_t>(run.state);
  const auto before = static_cast<std::int32_t>(run.previousState);
  return std::make_shared<Dictionary>(
      Dictionary::Entries{{"sample", run.sample},
                          {"state", static_cast<std::uint32_t>(run.state)},
                          {"dstate", std::abs(number - before)},
                          {"mode", static_cast<std::uint32_t>(reading.mode)},
                          {"target", reading.targetRpm},
                          {"speed", reading.speedRpm},
                          {"hitmax", run.hitMax},
                          {"hitmin", run.hitMin},
                          {"temp", reading.temp}});
}

}  // namespace

std::string_view fanTestStateName(FanTestState state) {
  constexpr std::array<std::string_view, 10> kNames{
      "init",    "set_min",  "wait_speed",   "rah_min", "set_max",
      "rah_max", "automode", "animate_done", "done",    "no error"};
  return kNames[static_cast<std::size_t>(state)];
}

FanReading fanReading(const Dictionary& fan) {
  const auto [mode, min, max, target, speed, temp] = fan.getEach(
      std::array{fan::kMode, fan::kMin, fan::kMax, fan::kTarget, fan::kSpeed, fan::kTemp});
  return {mode.intValue(),   min.intValue(),      max.intValue(),
          target.intValue(), speed.doubleValue(), temp};
}

FanTestStep takeFanTestSample(const FanTestRun& run, const FanReading& reading) {
  FanTestStep step{run, {}, recordOf(run, reading)};
  const double deviation = reading.speedRpm - run.lastSetRpm;
  if (run.lastSetRpm > 0) {
    // A fan that has crossed the speed between two samples was there.
    step.run.reached =
        std::fabs(deviation) < 100 || (deviation >= 0) != (run.previousDeviationRpm >= 0);
  }
  advance(reading, step);
  ++step.run.sample;
  step.run.previousState = run.state;
  step.run.previousDeviationRpm = deviation;
  return step;
}

std::int32_t mostFanTestSamplesLeft(const FanTestRun& run) {
  // What follows a state, each at its longest; a settle state has one more for the capture.
  constexpr std::int32_t kCounted = kFanTestSamples + 1;
  constexpr std::int32_t kAfterMin = 2 * kCounted;              // automode, animate_done
  constexpr std::int32_t kAfterMax = 2 * kCounted + kAfterMin;  // set_min, rah_min
  constexpr std::int32_t kAfterWait = kCounted + kAfterMax;     // rah_max
  constexpr std::int32_t kAfterSetMax = kFanTestSpinUpSamples + 1 + kAfterWait;
  const std::int32_t here = std::max(run.counter, 0) + 1;
  const auto settling = [&run](std::int32_t measured) {
    return std::max(run.counter, 1) + (measured == 0 ? 1 : 0);
  };
  switch (run.state) {
    case FanTestState::init:
      return 1 + kCounted + kAfterSetMax;
    case FanTestState::setMax:
      return here + kAfterSetMax;
    case FanTestState::waitSpeed:
      return here + kAfterWait;
    case FanTestState::rahMax:
      return settling(run.measuredMaxRpm) + kAfterMax;
    case FanTestState::setMin:
      return here + kCounted + kAfterMin;
    case FanTestState::rahMin:
      return settling(run.measuredMinRpm) + kAfterMin;
    case FanTestState::automode:
      return here + kCounted;
    case FanTestState::animateDone:
      return here;
    case FanTestState::done:
    case FanTestState::noError:
      break;
  }
  return 0;
}

}  // namespace halvarin
