#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "base/Array.h"
#include "selftest/FanTestMachine.h"
#include "tests/unit/selftest/FanTestRuns.h"

// What a sample takes from a fan's dictionary, and the record that it leaves.

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using State = FanTestState;

DictionaryRef recordOf(const FanTestRun& run, const FanReading& fan) {
  return takeFanTestSample(run, fan).sample;
}

// ---- reading -----------------------------------------------------------------------------------

TEST(FanReading, TakesTheSixEntriesOfAFan) {
  const Dictionary fan(Dictionary::Entries{{"index", 1},
                                           {"enabled", 1},
                                           {"mode", 1},
                                           {"speed", 2000.5F},
                                           {"target", 2100.0F},
                                           {"min", 1200.0F},
                                           {"max", 6000.0F},
                                           {"temp", "45.00"},
                                           {"location", "Left side  "}});
  const FanReading reading = fanReading(fan);
  EXPECT_EQ(reading.mode, 1);
  EXPECT_EQ(reading.minRpm, 1200);
  EXPECT_EQ(reading.maxRpm, 6000);
  EXPECT_EQ(reading.targetRpm, 2100);
  EXPECT_EQ(reading.speedRpm, 2000.5);
  EXPECT_EQ(reading.temp, Value("45.00"));
}

TEST(FanReading, TruncatesLimitsAndTargetTowardZeroAndNotTheSpeed) {
  const FanReading reading = fanReading(Dictionary(Dictionary::Entries{
      {"speed", 5999.9}, {"target", -0.9}, {"min", 1199.9F}, {"max", 5999.9F}}));
  EXPECT_EQ(reading.speedRpm, 5999.9);
  EXPECT_EQ(reading.targetRpm, 0);
  EXPECT_EQ(reading.minRpm, 1199);
  EXPECT_EQ(reading.maxRpm, 5999);
}

TEST(FanReading, ReadsTextsByTheirLeadingNumbers) {
  const FanReading reading = fanReading(Dictionary(
      Dictionary::Entries{{"mode", "3"}, {"speed", "2000.5 RPM"}, {"target", "1200.9"}}));
  EXPECT_EQ(reading.mode, 3);
  EXPECT_EQ(reading.speedRpm, 2000.5);
  EXPECT_EQ(reading.targetRpm, 1200);
}

TEST(FanReading, WhatAFanLacksIs0AndItsTempNothing) {
  const FanReading reading = fanReading(Dictionary());
  EXPECT_EQ(reading.mode, 0);
  EXPECT_EQ(reading.minRpm, 0);
  EXPECT_EQ(reading.maxRpm, 0);
  EXPECT_EQ(reading.targetRpm, 0);
  EXPECT_EQ(reading.speedRpm, 0);
  EXPECT_TRUE(reading.temp.isNothing());
}

TEST(FanReading, TempIsTheObjectOfTheDictionary) {
  const ArrayRef temps = Array::make({"45.00"});
  const FanReading reading = fanReading(Dictionary(Dictionary::Entries{{"temp", temps}}));
  EXPECT_EQ(reading.temp.array(), temps);
  EXPECT_EQ(recordOf({}, reading)->get("temp").array(), temps);
}

// ---- record ------------------------------------------------------------------------------------

TEST(FanTestRecord, HasExactlyNineEntriesInTheirOrder) {
  std::vector<std::string> names;
  for (const auto& [name, value] : recordOf({}, fanShowing(0, 2000))->entries()) {
    names.push_back(name.string());
  }
  EXPECT_THAT(names, ElementsAre("sample", "state", "dstate", "mode", "target", "speed", "hitmax",
                                 "hitmin", "temp"));
}

TEST(FanTestRecord, HoldsTheRunAndTheFanAsTheyWereInTheSample) {
  FanTestRun run = runIn(State::rahMax, 20);
  run.previousState = State::waitSpeed;
  run.hitMin = false;
  const DictionaryRef record = recordOf(run, fanShowing(1, 5990, 5988.25));
  EXPECT_EQ(record->get("sample"), Value(7));
  EXPECT_EQ(record->get("state"), Value(5));
  EXPECT_EQ(record->get("dstate"), Value(3));
  EXPECT_EQ(record->get("mode"), Value(1));
  EXPECT_EQ(record->get("target"), Value(5990));
  EXPECT_EQ(record->get("speed"), Value(5988.25));
  EXPECT_EQ(record->get("hitmax"), Value(true));
  EXPECT_EQ(record->get("hitmin"), Value(false));
  EXPECT_EQ(record->get("temp"), Value("45.00"));
}

TEST(FanTestRecord, FlagsAreTruthsAndSpeedIsARealEvenWithoutAFraction) {
  const DictionaryRef record = recordOf({}, fanShowing(0, 2000, 2000));
  for (const std::string_view name : {"sample", "state", "dstate", "mode", "target"}) {
    EXPECT_TRUE(record->get(name).isInteger()) << name;
  }
  EXPECT_TRUE(record->get("speed").isReal());
  EXPECT_TRUE(record->get("hitmax").isBoolean());
  EXPECT_TRUE(record->get("hitmin").isBoolean());
}

TEST(FanTestRecord, ModeIsUnsigned) {
  EXPECT_EQ(recordOf({}, fanShowing(-1, 0))->get("mode"), Value(4294967295U));
}

TEST(FanTestRecord, TargetKeepsItsSign) {
  constexpr auto kLowest = std::numeric_limits<std::int32_t>::min();
  EXPECT_EQ(recordOf({}, fanShowing(0, kLowest))->get("target"), Value(kLowest));
}

TEST(FanTestRecord, SpeedThatIsNotANumberIsKept) {
  const double kNaN = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(recordOf({}, fanShowing(0, 0, kNaN))->get("speed").doubleValue()));
}

TEST(FanTestRecord, FirstSampleIsNumber0InInitAndComparesWithState0) {
  const DictionaryRef record = recordOf({}, fanShowing(0, 2000));
  EXPECT_EQ(record->get("sample"), Value(0));
  EXPECT_EQ(record->get("state"), Value(0));
  EXPECT_EQ(record->get("dstate"), Value(0));
  FanTestRun later;
  later.state = State::setMax;
  EXPECT_EQ(recordOf(later, fanShowing(0, 2000))->get("dstate"), Value(4));
}

TEST(FanTestRecord, DifferenceOfTheStatesIsAbsolute) {
  FanTestRun run = runIn(State::setMin, 20);
  run.previousState = State::rahMax;
  EXPECT_EQ(recordOf(run, fanShowing(1, 6000))->get("dstate"), Value(4));
  run.previousState = State::setMin;
  EXPECT_EQ(recordOf(run, fanShowing(1, 6000))->get("dstate"), Value(0));
}

TEST(FanTestRecord, HitFlagStandsInTheRecordAfterTheSampleThatSetIt) {
  struct Row {
    State state;
    bool FanTestRun::*hit;
    std::int32_t FanTestRun::*measuredRpm;
    std::string_view name;
  };
  for (const Row& row :
       {Row{State::rahMax, &FanTestRun::hitMax, &FanTestRun::measuredMaxRpm, "hitmax"},
        Row{State::rahMin, &FanTestRun::hitMin, &FanTestRun::measuredMinRpm, "hitmin"}}) {
    FanTestRun run = runIn(row.state, 20);
    run.*row.hit = false;
    run.*row.measuredRpm = 0;
    run.lastSetRpm = 4000;
    const FanTestStep capture = takeFanTestSample(run, fanShowing(1, 4000, 4000));
    ASSERT_TRUE(capture.run.*row.hit);
    EXPECT_EQ(capture.sample->get(row.name), Value(false));
    EXPECT_EQ(recordOf(capture.run, fanShowing(1, 4000, 4000))->get(row.name), Value(true));
  }
}

TEST(FanTestRecord, HitFlagStillStandsInTheRecordOfTheCommandThatClearsIt) {
  const FanTestStep command = takeFanTestSample(runIn(State::setMax, 20), fanShowing(0, 0));
  ASSERT_FALSE(command.run.hitMax);
  EXPECT_EQ(command.sample->get("hitmax"), Value(true));
}

TEST(FanTestRecord, SamplesOfARunAreNumberedWithoutAGapEachInARecordOfItsOwn) {
  FanTestRun run;
  DictionaryRef before;
  for (std::int32_t number = 0; run.state != State::done; ++number) {
    const FanTestStep step = takeFanTestSample(run, fanShowing(0, 2000));
    EXPECT_EQ(step.sample->get("sample"), Value(number));
    EXPECT_NE(step.sample, before);
    before = step.sample;
    run = step.run;
  }
  EXPECT_GT(run.sample, 100);
}

TEST(FanTestRecord, DifferencesFollowTheStatesOfARunUpToAnimateDone) {
  FanTestRun run;
  std::vector<std::int32_t> changes;
  std::int32_t lastState = 0;
  while (run.state != State::done) {
    const FanTestStep step = takeFanTestSample(run, fanShowing(0, 2000));
    const std::int32_t change = step.sample->get("dstate").intValue();
    if (change != 0) {
      changes.push_back(change);
    }
    lastState = step.sample->get("state").intValue();
    run = step.run;
  }
  EXPECT_EQ(lastState, 7);
  // init 0, set_max 4, wait_speed 2, rah_max 5, set_min 1, rah_min 3, automode 6, animate_done 7
  EXPECT_THAT(changes, ElementsAre(4, 2, 3, 4, 2, 3, 1));
}

}  // namespace
}  // namespace halvarin::test
