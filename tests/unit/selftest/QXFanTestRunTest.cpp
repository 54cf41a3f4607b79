// Whole runs of a fan test on simulated fans, in virtual time.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "base/Exception.h"
#include "selftest/QXFanTest.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/WithoutRights.h"
#include "tests/unit/selftest/FanTests.h"

namespace halvarin::test {
namespace {

using platform::FanFault;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Words = std::vector<std::string>;

class FanTestRunOn : public FanTestCase {
 protected:
  void start(FanStyle style, std::vector<FanFault> faults = {}) {
    platform::Simulation simulation;
    simulation.fanFaults = std::move(faults);
    startOn(fanMachine(style), std::move(simulation));
    test_ = testOf(0);
    installed_.journal->clear();
  }
  /// Runs the test and counts its samples.
  void run(const QXFanTest::ReadingHandler& handler = {}) {
    const auto before = clock_->now();
    test_->startTestWithProgress(nullptr, [&](const DictionaryRef& fan) {
      ++readings_;
      states_.emplace_back(test_->progress().state);
      if (handler) {
        handler(fan);
      }
    });
    ran_ = clock_->now() - before;
  }
  void cancelIn(const std::string& state) {
    run([&](const DictionaryRef&) {
      if (test_->progress().state == state) {
        test_->cancel();
      }
    });
  }
  [[nodiscard]] std::ptrdiff_t samplesIn(const std::string& state) const {
    return std::count(states_.begin(), states_.end(), state);
  }

  std::shared_ptr<QXFanTest> test_;
  int readings_ = 0;
  Words states_;
  platform::Clock::Duration ran_{0};
};

// ---- healthy fans ------------------------------------------------------------------------------

TEST_F(FanTestRunOn, HealthyFanWithAModeKeyIsForcedToItsHighestThenItsLeastSpeedAndHandedBack) {
  start(FanStyle::modeKeys);
  run();
  EXPECT_EQ(test_->status(), "Passed");
  EXPECT_THAT(writes(), ElementsAre("F0Md 01", "F0Tg 5DC0", "F0Md 01", "F0Tg 12C0", "F0Md 00"));
  EXPECT_THAT(owner_->told(), ElementsAre("running"));
}

TEST_F(FanTestRunOn, MachineWithATestFlagHasItOnFromTheFirstSampleToTheLast) {
  start(FanStyle::testFlag);
  run();
  EXPECT_EQ(test_->status(), "Passed");
  EXPECT_THAT(writes(), ElementsAre("Ftst 01", "F0Md 01", "F0Tg 5DC0", "F0Md 01", "F0Tg 12C0",
                                    "F0Md 00", "Ftst 00"));
}

TEST_F(FanTestRunOn, DeliberateMachineWithForceBitsPassesWithItsFanStillForced) {
  start(FanStyle::forceBits);
  run();
  EXPECT_EQ(test_->status(), "Passed");
  Words expected;
  for (const char* speed : {"F0Tg 5DC0", "F0Tg 12C0"}) {
    for (int i = 0; i < 32; ++i) {  // "mode" always reads 0, so the command is given until it is up
      expected.emplace_back("FS!  0001");
      expected.emplace_back(speed);
    }
  }
  EXPECT_EQ(writes(), expected);
  EXPECT_THAT(owner_->told(), ElementsAre("running"));
  test_ = nullptr;
  expected.emplace_back("FS!  0000");
  EXPECT_EQ(writes(), expected);
}

TEST_F(FanTestRunOn, SamplesAreTakenEvery250MillisecondsInTheOrderOfTheStates) {
  start(FanStyle::modeKeys);
  run();
  Words order = states_;
  order.erase(std::unique(order.begin(), order.end()), order.end());
  EXPECT_THAT(order, ElementsAre("init", "set_max", "wait_speed", "rah_max", "set_min", "rah_min",
                                 "automode", "animate_done"));
  EXPECT_EQ(samplesIn("set_max"), 2);
  EXPECT_EQ(samplesIn("wait_speed"), 1);
  EXPECT_EQ(samplesIn("rah_max"), 33);
  EXPECT_EQ(samplesIn("animate_done"), 33);
  EXPECT_EQ(ran_, std::chrono::milliseconds(250) * readings_);
}

TEST_F(FanTestRunOn, LogSaysStartAndSumsUp) {
  start(FanStyle::modeKeys);
  run();
  const auto lines = logged();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0], "fantest: Fan0 start");
  EXPECT_THAT(lines[1],
              testing::MatchesRegex("fantest: Fan0 status: Passed  exit state: 'no error' temp: "
                                    "'45.00 oC' hitMin: 1 hitMax: 1 tg_min: 1200 spd_min: 12[0-9]+ "
                                    "tg_max: 6000 spd_max: 59[0-9]+  rdr: 0.9[0-9]+ "));
}

TEST_F(FanTestRunOn, HandlerGetsEveryReadingOnTheThreadOfTheTest) {
  start(FanStyle::modeKeys);
  std::vector<double> speeds;
  run([&, thread = std::this_thread::get_id()](const DictionaryRef& fan) {
    EXPECT_EQ(std::this_thread::get_id(), thread);
    EXPECT_EQ(fan->count(), 9U);
    EXPECT_EQ(fan->get("index").intValue(), 0);
    speeds.push_back(fan->get("speed").doubleValue());
  });
  EXPECT_EQ(speeds.front(), 2000);
  EXPECT_GT(*std::max_element(speeds.begin(), speeds.end()), 5900);
}

TEST_F(FanTestRunOn, SecondRunIsLikeTheFirst) {
  start(FanStyle::modeKeys);
  run();
  const int first = readings_;
  test_->setStatus("Canceled");
  run();
  EXPECT_EQ(test_->status(), "Passed");
  EXPECT_EQ(readings_, 2 * first);
}

TEST_F(FanTestRunOn, ProgressGoesFromTheWorstCaseToNothingLeft) {
  start(FanStyle::modeKeys);
  EXPECT_EQ(test_->progress().state, "init");
  EXPECT_EQ(test_->progress().sample, 0);
  EXPECT_EQ(test_->progress().mostSamplesLeft, 680);
  int before = 681;
  run([&](const DictionaryRef&) {
    EXPECT_LT(test_->progress().mostSamplesLeft, before);
    before = test_->progress().mostSamplesLeft;
    EXPECT_EQ(test_->progress().sample, readings_ - 1);
  });
  EXPECT_EQ(before, 1);
  EXPECT_EQ(test_->progress().state, "done");
  EXPECT_EQ(test_->progress().sample, readings_);
  EXPECT_EQ(test_->progress().mostSamplesLeft, 0);
}

TEST_F(FanTestRunOn, FanThatIsForcedToItsHighestSpeedAlreadyIsNotCommandedToIt) {
  auto machine = fanMachine(FanStyle::modeKeys);
  for (auto& key : machine.keys) {
    if (key.code == platform::fourBytes("F0Md")) {
      key.bytes = {1};
    } else if (key.code == platform::fourBytes("F0Tg")) {
      key.bytes = {0x5C, 0xFC};  // 5951, 49 short of it
    }
  }
  startOn(std::move(machine));
  test_ = testOf(0);
  run();
  EXPECT_THAT(writes(), ElementsAre("F0Md 01", "F0Tg 12C0", "F0Md 00"));
  EXPECT_EQ(samplesIn("set_max"), 1);
  EXPECT_EQ(samplesIn("rah_max"), 32);
  EXPECT_THAT(logged()[1], HasSubstr("hitMax: 0"));
}

// ---- faults ------------------------------------------------------------------------------------

TEST_F(FanTestRunOn, DeliberateFanThatNeverTurnsTimesOutAndStaysForced) {
  start(FanStyle::modeKeys, {{0, FanFault::Kind::stalled}});
  run();
  EXPECT_EQ(test_->status(), "Timeout");
  EXPECT_EQ(samplesIn("wait_speed"), 481);
  EXPECT_THAT(writes(), ElementsAre("F0Md 01", "F0Tg 5DC0"));
  EXPECT_THAT(owner_->told(), IsEmpty());
  EXPECT_EQ(logged()[1],
            "fantest: Fan0 status: Timeout  exit state: 'wait_speed' temp: '45.00 oC' hitMin: 0 "
            "hitMax: 0 tg_min: 1200 spd_min: 0 tg_max: 6000 spd_max: 0  rdr: 0.000 ");
  test_ = nullptr;
  EXPECT_EQ(writes().back(), "F0Md 00");
}

TEST_F(FanTestRunOn, FanWhoseHighestSpeedIsItsLeastHasNoRangeToCover) {
  auto machine = fanMachine(FanStyle::modeKeys);
  for (auto& key : machine.keys) {
    if (key.code == platform::fourBytes("F0Mn")) {
      key.bytes = {0x5D, 0xC0};
    }
  }
  startOn(std::move(machine));
  test_ = testOf(0);
  run();
  EXPECT_EQ(test_->status(), "Passed");
  EXPECT_THAT(logged()[1], HasSubstr("hitMin: 1 hitMax: 1"));
  EXPECT_THAT(logged()[1], testing::EndsWith("rdr: inf "));
}

TEST_F(FanTestRunOn, CommandsThatFailChangeNothingInTheTest) {
  platform::Simulation simulation;
  simulation.faults = {faultOf("F0Md", 6), faultOf("F0Tg", 6)};
  startOn(fanMachine(FanStyle::modeKeys), std::move(simulation));
  test_ = testOf(0);
  run();
  EXPECT_EQ(test_->status(), "Failed");  // the fan stays where it was
  EXPECT_EQ(samplesIn("set_max"), 33);
}

// ---- exceptions --------------------------------------------------------------------------------

TEST_F(FanTestRunOn, ExceptionOfAReadingIsLoggedAndTheSampleTakenAgain) {
  start(FanStyle::modeKeys);
  run([&](const DictionaryRef&) {
    if (readings_ == 3 || readings_ == 4) {
      throw Exception("NSGenericException", "no such thing");
    }
  });
  EXPECT_EQ(test_->status(), "Passed");
  EXPECT_THAT(logged(),
              ElementsAre("fantest: Fan0 start",
                          "fantest Fan0  read-fans  state: (4)set_max  exception: no such thing",
                          "fantest Fan0  read-fans  state: (4)set_max  exception: no such thing",
                          StartsWith("fantest: Fan0 status: Passed")));
  EXPECT_EQ(samplesIn("set_max"), 4);
  EXPECT_EQ(test_->progress().sample, readings_ - 2);
}

TEST_F(FanTestRunOn, OtherExceptionsPassToTheCallerWithTheFanAsItIs) {
  start(FanStyle::testFlag);
  EXPECT_THROW(run([&](const DictionaryRef&) {
                 if (readings_ == 10) {
                   throw std::runtime_error("mine");
                 }
               }),
               std::runtime_error);
  EXPECT_EQ(test_->status(), "");
  EXPECT_THAT(writes(), ElementsAre("Ftst 01", "F0Md 01", "F0Tg 5DC0"));
}

TEST_F(FanTestRunOn, DeliberateCancelIsNotSeenWhileReadingsFail) {
  start(FanStyle::modeKeys);
  run([&](const DictionaryRef&) {
    test_->cancel();
    if (readings_ < 50) {
      throw Exception("NSGenericException", "not yet");
    }
  });
  EXPECT_EQ(readings_, 50);
  EXPECT_EQ(test_->status(), "Canceled");
}

TEST_F(FanTestRunOn, FanThatCannotBeReadForAWhileIsReadAgain) {
  platform::Simulation simulation;
  startOn(fanMachine(FanStyle::modeKeys), std::move(simulation));
  test_ = testOf(0);
  ASSERT_TRUE(installed_.machine->setReading("FNum", 0));
  int seen = 0;
  const auto before = clock_->now();
  platform::Queue("mender", platform::Queue::Kind::serial).async([&] {
    while (clock_->now() - before < std::chrono::seconds(5)) {
    }
    static_cast<void>(installed_.machine->setReading("FNum", 2));
  });
  test_->startTestWithProgress(nullptr, [&](const DictionaryRef&) { ++seen; });
  EXPECT_EQ(test_->status(), "Passed");
  EXPECT_EQ(test_->progress().sample, seen);
  EXPECT_EQ(logged()[1],
            "fantest Fan0  read-fans  state: (0)init  exception: the fan cannot be read");
}

TEST_F(FanTestRunOn, TestOfAFanThatIsNotThereAnyMoreCanBeCanceled) {
  start(FanStyle::modeKeys);
  ASSERT_TRUE(installed_.machine->setReading("FNum", 0));
  platform::Queue("ender", platform::Queue::Kind::serial).async([&] {
    while (logged().size() < 3) {
    }
    test_->cancel();
  });
  run();
  EXPECT_EQ(readings_, 0);
  EXPECT_EQ(test_->status(), "Canceled");
  EXPECT_THAT(logged().back(), HasSubstr("exit state: 'init' temp: '(null) oC'"));
}

// ---- cancel ------------------------------------------------------------------------------------

TEST_F(FanTestRunOn, CancelWhileSettlingHandsTheFanBackAtOnce) {
  start(FanStyle::testFlag);
  cancelIn("rah_max");
  EXPECT_EQ(test_->status(), "Canceled");
  EXPECT_EQ(samplesIn("rah_max"), 1);
  EXPECT_THAT(writes(), ElementsAre("Ftst 01", "F0Md 01", "F0Tg 5DC0", "F0Md 00", "Ftst 00"));
  EXPECT_THAT(logged()[1], HasSubstr("status: Canceled  exit state: 'rah_max'"));
  EXPECT_THAT(owner_->told(), IsEmpty());
}

TEST_F(FanTestRunOn, CancelAtTheEndOfAStateNamesTheStateThatWouldHaveFollowed) {
  start(FanStyle::modeKeys);
  int settled = 0;
  run([&](const DictionaryRef&) {
    settled += test_->progress().state == "rah_max" ? 1 : 0;
    if (settled == 33) {
      test_->cancel();
    }
  });
  EXPECT_THAT(logged()[1], HasSubstr("exit state: 'set_min'"));
}

TEST_F(FanTestRunOn, DeliberateCommandsOfTheSampleThatSeesTheCancelAreStillGiven) {
  start(FanStyle::modeKeys);
  cancelIn("set_max");
  EXPECT_THAT(writes(), ElementsAre("F0Md 01", "F0Tg 5DC0", "F0Md 00"));
}

TEST_F(FanTestRunOn, DeliberateCancelBeforeTheStartIsForgotten) {
  start(FanStyle::modeKeys);
  test_->cancel();
  run();
  EXPECT_EQ(test_->status(), "Passed");
}

// ---- logs that cannot be written ---------------------------------------------------------------

TEST_F(FanTestRunOn, VerdictStandsWhenAFileIsInThePlaceOfTheLogFolder) {
  start(FanStyle::modeKeys);
  std::filesystem::create_directories(logs_.top() + "/Library/Logs");
  std::ofstream(logs_.logs()) << "a file";
  run();
  EXPECT_EQ(test_->status(), "Passed");
}

TEST_F(FanTestRunOn, VerdictStandsWithoutTheRightToWriteTheLog) {
  start(FanStyle::modeKeys);
  logs_.makeLogs();
  {
    const WithoutRights rights(logs_.logs());
    run();
  }
  EXPECT_EQ(test_->status(), "Passed");
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FanTestRunOn, VerdictStandsWhenTheDiskIsFull) {
  start(FanStyle::modeKeys);
  {
    const FileSizeLimit full(0);
    run();
  }
  EXPECT_EQ(test_->status(), "Passed");
  EXPECT_THAT(logged(), IsEmpty());
}

TEST_F(FanTestRunOn, ObjectOfTheProgressLivesAsLongAsTheRun) {
  start(FanStyle::modeKeys);
  auto progress = std::make_shared<int>(0);
  const std::weak_ptr<int> weak = progress;
  test_->startTestWithProgress(progress, [&](const DictionaryRef&) {
    progress = nullptr;
    EXPECT_FALSE(weak.expired());
  });
  EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace halvarin::test
