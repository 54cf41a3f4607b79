// The facade's update passes and what they announce.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "platform/machine/BareComputer.h"
#include "tests/support/Facades.h"
#include "tests/support/Updates.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;

class QXHalvarinUpdateTest : public FacadeTest {
 protected:
  /// What one requested pass announces.
  DictionaryRef update() {
    Updates updates(facade_.get());
    facade_->requestSensorUpdate();
    updates.await(1);
    return updates.received().front().userInfo;
  }
};

/// One key of each category of the update, with a second temperature that is below zero.
std::vector<platform::RecordedKey> laptopKeys() {
  return {key("ALSL", "ui16", {0, 9}),    key("F0Ac", "fpe2", {0x1F, 0x40}),
          key("FNum", "ui8 ", {1}),       key("IC0C", "sp78", {1, 0}),
          key("MO_X", "sp78", {1, 0}),    key("PC0C", "sp78", {2, 0}),
          key("TC0P", "sp78", {0x2D, 0}), key("TC1P", "sp78", {0x81, 0}),
          key("TC2P", "sp78", {0x2E, 0}), key("VC0C", "sp78", {3, 0})};
}

constexpr std::initializer_list<Descriptor> kSensors{
    {"ALSL", "Ambient light"},
    {"IC0C", "CPU current"},
    {"MO_X", "Motion"},
    {"PC0C", "CPU power"},
    {"TC0P", "CPU proximity", "0", "40", "oC", true},
    {"TC1P", "CPU proximity 2"},
    {"TC2P", "CPU proximity 3"},
    {"VC0C", "CPU voltage"}};

platform::RecordedMachine laptopOn(const char* powerSource) {
  platform::RecordedMachine machine = machineWith(laptopKeys());
  machine.powerSource = powerSource;
  return machine;
}

std::vector<std::string> namesOf(const DictionaryRef& dictionary) {
  std::vector<std::string> names;
  for (const auto& [name, value] : dictionary->entries()) {
    names.push_back(name.string());
  }
  return names;
}

const std::vector<std::string> kSevenNames{"powerSource", "fans",  "temps", "voltage",
                                           "current",     "power", "light"};

TEST_F(QXHalvarinUpdateTest, CarriesSevenEntriesInOrder) {
  start(laptopKeys(), kSensors);
  const DictionaryRef pass = update();
  EXPECT_EQ(namesOf(pass), kSevenNames);
  EXPECT_EQ(pass->get("powerSource"), Value("AC Power"));
  ASSERT_EQ(pass->get("fans").array()->count(), 1U);
  EXPECT_EQ(pass->get("fans").array()->at(0).dictionary()->get("speed"), Value(2000.0));
  EXPECT_EQ(record("VC0C")->get("value"), Value("3.00"));
  EXPECT_EQ(record("IC0C")->get("value"), Value("1.00"));
  EXPECT_EQ(record("PC0C")->get("value"), Value("2.00"));
  EXPECT_EQ(record("ALSL")->get("value"), Value("9"));
}

TEST_F(QXHalvarinUpdateTest, HoldsTheVeryArraysOfTheCategoriesButANewOneOfTheTemperatures) {
  start(laptopKeys(), kSensors);
  const DictionaryRef pass = update();
  for (const char* category : {"voltage", "current", "power", "light"}) {
    EXPECT_EQ(pass->get(category).array(), facade_->sensorKeys()->get(category).array())
        << category;
  }
  EXPECT_NE(pass->get("temps").array(), facade_->sensorKeys()->get("temperature").array());
  EXPECT_EQ(pass->get("temps").array()->at(0).dictionary(), record("TC0P"));
}

TEST_F(QXHalvarinUpdateTest, NegativeTemperatureIsMissingButStaysInItsCategory) {
  start(laptopKeys(), kSensors);
  const DictionaryRef pass = update();
  EXPECT_EQ(record("TC1P")->get("value"), Value("-127.00"));
  EXPECT_THAT(keysOf(pass->get("temps").array()), ElementsAre("TC0P", "TC2P"));
  EXPECT_THAT(keysOf(facade_->sensorKeys()->get("temperature").array()),
              ElementsAre("TC0P", "TC1P", "TC2P"));
}

/// What a power source of the platform's name means. A process has one connection to one machine,
/// so each row is a test.
struct PowerRow {
  const char* testName;
  const char* platforms;
  const char* shown;
  bool hotIsInside;
};

class QXHalvarinPowerTest : public FacadeTest, public testing::WithParamInterface<PowerRow> {};

TEST_P(QXHalvarinPowerTest, DecidesWhetherAMainsLimitIsAppliedToATemperature) {
  startOn(laptopOn(GetParam().platforms), kSensors);
  EXPECT_EQ(facade_->powerSource(), GetParam().shown);
  Updates updates(facade_.get());
  facade_->requestSensorUpdate();
  updates.await(1);
  const DictionaryRef pass = updates.received().front().userInfo;
  EXPECT_EQ(pass->get("powerSource"), Value(GetParam().shown));
  const DictionaryRef hot = pass->get("temps").array()->at(0).dictionary();
  EXPECT_EQ(hot, record("TC0P"));
  EXPECT_EQ(hot->get("value"), Value("45.00"));
  EXPECT_EQ(hot->get("isInsideLimits"), Value(GetParam().hotIsInside));
}

INSTANTIATE_TEST_SUITE_P(
    All, QXHalvarinPowerTest,
    testing::Values(PowerRow{"OnBatteryItIsInside", "Battery Power", "Battery Power", true},
                    PowerRow{"OnAnUninterruptibleSupplyItIsInside", "UPS Power", "UPS Power", true},
                    PowerRow{"OnMainsItIsOutside", "AC Power", "AC Power", false},
                    PowerRow{"WithoutANameItIsOutsideAsOnMains", "", "AC Power", false}),
    [](const auto& row) { return row.param.testName; });

TEST_F(QXHalvarinUpdateTest, EmptyCategoriesAreEmptyArraysInAllSevenEntries) {
  start({}, {});
  const DictionaryRef pass = update();
  EXPECT_EQ(namesOf(pass), kSevenNames);
  for (const char* category : {"fans", "temps", "voltage", "current", "power", "light"}) {
    ASSERT_TRUE(pass->get(category).array()) << category;
    EXPECT_EQ(pass->get(category).array()->count(), 0U) << category;
  }
}

TEST_F(QXHalvarinUpdateTest,
       PassCostsOneTransferAKeyButTwoForATemperatureAndNoneForOtherCategories) {
  start(laptopKeys(), kSensors);
  static_cast<void>(update());
  EXPECT_EQ(transfers(), 2U /* fans */ + 2U * 3U /* temperatures */ + 4U /* the others */);
  std::vector<std::string> read;
  for (const std::string& line : *installed_.journal) {
    read.push_back(line.substr(std::string("call 1 read ").size(), 4));
  }
  EXPECT_THAT(read, ElementsAre("TC0P", "TC1P", "TC2P", "F0Ac", "FNum", "TC0P", "TC1P", "TC2P",
                                "VC0C", "IC0C", "PC0C", "ALSL"));
}

// ---- failures ----------------------------------------------------------------------------------

TEST_F(QXHalvarinUpdateTest, TemperatureWhoseReadFailedStaysWithItsErrorText) {
  platform::Simulation simulation;
  simulation.faults = {faultOf("TC2P", 5)};
  start(laptopKeys(), kSensors, simulation);
  const DictionaryRef pass = update();
  EXPECT_THAT(keysOf(pass->get("temps").array()), ElementsAre("TC0P", "TC2P"));
  EXPECT_EQ(record("TC2P")->get("value"), Value("error e00002c2"));
  EXPECT_EQ(record("TC2P")->get("isInsideLimits"), Value());
}

/// Expects that every record of a pass shows this text and that there are no fans.
void expectEverywhere(const DictionaryRef& pass, const char* text, std::size_t records) {
  EXPECT_EQ(namesOf(pass), kSevenNames);
  EXPECT_EQ(pass->get("fans").array()->count(), 0U);
  std::size_t seen = 0;
  for (const char* category : {"temps", "voltage", "current", "power", "light"}) {
    for (const Value& each : pass->get(category).array()->elements()) {
      EXPECT_EQ(each.dictionary()->get("value"), Value(text)) << category;
      ++seen;
    }
  }
  EXPECT_EQ(seen, records);
}

TEST_F(QXHalvarinUpdateTest, NotifiesAlsoWhenEveryTransferFails) {
  platform::TransferFault fault;
  fault.firstCall = transfersOfStart(laptopKeys().size()) + 1;
  fault.status = 132;
  platform::Simulation simulation;
  simulation.faults = {fault};
  start(laptopKeys(), kSensors, simulation);
  expectEverywhere(update(), "error 84", 7);
}

TEST_F(QXHalvarinUpdateTest, ServiceThatVanishesShowsErrorsEverywhere) {
  platform::Simulation simulation;
  simulation.vanishAfter = transfersOfStart(laptopKeys().size());
  start(laptopKeys(), kSensors, simulation);
  expectEverywhere(update(), "error e00002c0", 7);
}

TEST_F(QXHalvarinUpdateTest, ServiceThatVanishesWithinAPassLeavesWhatWasReadBefore) {
  platform::Simulation simulation;
  // The fans and the temperatures, twice, are read: 2 + 6.
  simulation.vanishAfter = transfersOfStart(laptopKeys().size()) + 8;
  start(laptopKeys(), kSensors, simulation);
  const DictionaryRef pass = update();
  EXPECT_EQ(pass->get("fans").array()->count(), 1U);
  EXPECT_EQ(record("TC0P")->get("value"), Value("45.00"));
  EXPECT_EQ(record("VC0C")->get("value"), Value("error e00002c0"));
}

TEST_F(QXHalvarinUpdateTest, WithoutControllerNotifiesOfEmptyArrays) {
  embedDatabase(databaseOf("Test1,1", kSensors));
  platform::setMachine(std::make_shared<platform::BareComputer>());
  facade_ = QXHalvarin::init();
  ASSERT_TRUE(facade_);
  expectEverywhere(update(), "", 0);
}

}  // namespace
}  // namespace halvarin::test
