#include "sensors/QXHalvarin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <thread>

#include "platform/machine/BareComputer.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Facades.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;

/// A facade on a small machine whose model the database describes.
class QXHalvarinTest : public testing::Test {
 protected:
  void start(std::vector<platform::RecordedKey> keys, std::initializer_list<Descriptor> sensors,
             platform::Simulation simulation = {}) {
    embedDatabase(databaseOf("Test1,1", sensors));
    installed_ = install(machineWith(std::move(keys)), std::move(simulation));
    facade_ = QXHalvarin::init();
    ASSERT_TRUE(facade_);
  }

  Value verdict(std::string_view key) { return recordOf(*facade_, key)->get("isInsideLimits"); }

  InstalledMachine installed_;
  std::shared_ptr<QXHalvarin> facade_;
};

std::vector<platform::RecordedKey> someKeys() {
  return {key("ALSL", "ui16", {0, 9}),    key("F0Ac", "fpe2", {0x1F, 0x40}),
          key("FNum", "ui8 ", {1}),       key("FS! ", "ui16", {0, 0}),
          key("IC0C", "sp78", {1, 0}),    key("MO_X", "sp78", {1, 0}),
          key("MSC0", "ui16", {0, 1}),    key("MSLD", "ui8 ", {0}),
          key("PC0C", "sp78", {1, 0}),    key("TC0P", "sp78", {0x2D, 0}),
          key("TC1P", "sp78", {0x2E, 0}), key("VC0C", "sp78", {1, 0})};
}

// ---- start and identity ------------------------------------------------------------------------

TEST_F(QXHalvarinTest, UnknownModelHasNineCategoriesWithOnlyFansInThem) {
  embedDatabase(databaseOf("Other1,1", {{"TC0P", "CPU proximity"}}));
  install(machineWith(someKeys()));
  const auto facade = QXHalvarin::init();
  ASSERT_TRUE(facade);
  EXPECT_EQ(facade->sensorDict(), nullptr);
  EXPECT_EQ(facade->sensorKeys()->count(), 9U);
  for (const auto& [name, records] : facade->sensorKeys()->entries()) {
    EXPECT_EQ(records.array()->count(), name == "fans" ? 3U : 0U) << name.view();
  }
  EXPECT_THAT(keysOf(facade->sensorKeys()->get("fans").array()),
              ElementsAre("F0Ac", "FNum", "FS! "));
  EXPECT_EQ(recordOf(*facade, "TC0P")->get("description"), Value(""));
}

TEST_F(QXHalvarinTest, CategoriesHoldTheDescribedKeys) {
  start(someKeys(), {{"ALSL", "Light"},
                     {"IC0C", "Current"},
                     {"MO_X", "Motion"},
                     {"MSC0", "Calibration"},
                     {"MSLD", "Lid"},
                     {"PC0C", "Power"},
                     {"TC0P", "CPU"},
                     {"VC0C", "Voltage"}});
  std::vector<std::string> rows;
  for (const auto& [name, records] : facade_->sensorKeys()->entries()) {
    std::string row = name.string();
    for (const std::string& key : keysOf(records.array())) {
      row += " " + key;
    }
    rows.push_back(row);
  }
  EXPECT_THAT(rows, ElementsAre("temperature TC0P", "voltage VC0C", "current IC0C", "power PC0C",
                                "light ALSL", "motion MO_X", "magnetic MSLD", "calibration MSC0",
                                "fans F0Ac FNum FS! "));
}

TEST_F(QXHalvarinTest, ModelTextIsTrimmedBeforeTheLookup) {
  embedDatabase(databaseOf("Test1,1", {{"TC0P", "CPU proximity"}}));
  install(machineWith(someKeys(), " \tTest1,1 \t"));
  const auto facade = QXHalvarin::init();
  EXPECT_EQ(facade->machineModel(), "Test1,1");
  EXPECT_EQ(facade->sensorKeys()->get("temperature").array()->count(), 1U);
}

TEST_F(QXHalvarinTest, ModelTextOf24CharactersIsReadAndALongerOneIsNot) {
  embedDatabase(databaseOf("Test1,1", {}));
  install(machineWith({}, std::string(24, 'M')));
  EXPECT_EQ(QXHalvarin::init()->readMachineModel(), std::string(24, 'M'));
  install(machineWith({}, std::string(25, 'M')));
  EXPECT_EQ(QXHalvarin::init()->readMachineModel(), "");
}

TEST_F(QXHalvarinTest, LogicalProcessorsAreZeroWhenTheyCannotBeRead) {
  start({}, {});
  EXPECT_EQ(facade_->numberLogicalCPUs(), 4);
  class Silent : public platform::BareComputer {
    Value setting(std::string_view /*name*/) override { return {}; }
  };
  platform::setMachine(std::make_shared<Silent>());
  EXPECT_EQ(facade_->numberLogicalCPUs(), 0);
  EXPECT_EQ(facade_->readMachineModel(), "");
}

TEST_F(QXHalvarinTest, MachineWithoutAControllerHasEmptyCategories) {
  embedDatabase(databaseOf("Test1,1", {{"TC0P", "CPU proximity"}}));
  const auto facade = QXHalvarin::init();
  ASSERT_TRUE(facade);
  EXPECT_EQ(facade->smcKeys()->count(), 0U);
  EXPECT_EQ(facade->sensorKeys()->count(), 9U);
  EXPECT_EQ(facade->readSensorsOfType("fans", false)->count(), 0U);
}

TEST_F(QXHalvarinTest, RecordIsOneObjectInTheListAndItsCategory) {
  start(someKeys(), {{"TC0P", "CPU proximity"}});
  const DictionaryRef listed = recordOf(*facade_, "TC0P");
  const DictionaryRef sorted =
      facade_->sensorKeys()->get("temperature").array()->at(0).dictionary();
  EXPECT_EQ(listed, sorted);
  sorted->set("note", "seen");
  EXPECT_EQ(listed->get("note"), Value("seen"));
}

TEST_F(QXHalvarinTest, FanKeysStayAbsent) {
  start(someKeys(), {});
  EXPECT_EQ(facade_->fanKeys(), nullptr);
}

TEST_F(QXHalvarinTest, StartingReadsEveryKeyOnce) {
  start({key("TC0P", "sp78", {0x2D, 0})}, {{"TC0P", "CPU proximity"}});
  EXPECT_THAT(*installed_.journal,
              ElementsAre("open type 0 -> connection 1", "call 1 info #KEY -> ui32 4",
                          "call 1 read #KEY size 4 -> 00000002", "call 1 index 0 -> #KEY",
                          "call 1 info #KEY -> ui32 4", "call 1 index 1 -> TC0P",
                          "call 1 info TC0P -> sp78 2", "call 1 read #KEY size 4 -> 00000002",
                          "call 1 read TC0P size 2 -> 2D00"));
}

TEST_F(QXHalvarinTest, RunningTheStartAgainMakesNewArraysOfTheSameRecords) {
  start(someKeys(), {{"TC0P", "CPU proximity"}});
  const ArrayRef all = facade_->smcKeys();
  const ArrayRef temperatures = facade_->sensorKeys()->get("temperature").array();
  facade_->initializeSensorKeys();
  EXPECT_NE(facade_->smcKeys(), all);
  EXPECT_NE(facade_->sensorKeys()->get("temperature").array(), temperatures);
  EXPECT_EQ(facade_->smcKeys()->at(5).dictionary(), all->at(5).dictionary());
}

TEST_F(QXHalvarinTest, SelectionWithoutTheFlagKeepsEveryMatch) {
  start(someKeys(), {{"TC0P", "CPU proximity"}});
  EXPECT_THAT(keysOf(facade_->getSMCKeysLike("T???", true)), ElementsAre("TC0P"));
  EXPECT_THAT(keysOf(facade_->getSMCKeysLike("T???", false)), ElementsAre("TC0P", "TC1P"));
  EXPECT_THAT(keysOf(facade_->getSMCKeysLike("MO_?", false)), ElementsAre("MO_X"));
}

TEST_F(QXHalvarinTest, PropertiesHoldWhatTheyAreGiven) {
  start({}, {});
  facade_->setMachineModel("Set1,1");
  EXPECT_EQ(facade_->machineModel(), "Set1,1");
  const auto fans = Dictionary::make();
  facade_->setFanKeys(fans);
  EXPECT_EQ(facade_->fanKeys(), fans);
  EXPECT_EQ(facade_->valueHex('g'), 16);
}

// ---- reading -----------------------------------------------------------------------------------

TEST_F(QXHalvarinTest, UnknownCategoryIsNull) {
  start(someKeys(), {});
  EXPECT_EQ(facade_->readSensorsOfType("noise", true), nullptr);
  EXPECT_EQ(facade_->readSensorsOfType("", true), nullptr);
  EXPECT_EQ(facade_->readSensorsOfType("Temperature", true), nullptr);
}

TEST_F(QXHalvarinTest, FansAreAllThereAndInside) {
  start(someKeys(), {});
  const ArrayRef fans = facade_->readSensorsOfType("fans", true);
  EXPECT_THAT(keysOf(fans), ElementsAre("F0Ac", "FNum", "FS! "));
  for (const Value& each : fans->elements()) {
    EXPECT_EQ(each.dictionary()->get("isInsideLimits"), Value(true));
  }
  EXPECT_EQ(fans->at(0).dictionary()->get("value"), Value("2000.00"));
}

TEST_F(QXHalvarinTest, FanWithLimitsIsJudged) {
  start(someKeys(), {{"F0Ac", "Fan 1 speed", "0", "1000"}});
  facade_->readSensorsOfType("fans", false);
  EXPECT_EQ(verdict("F0Ac"), Value(false));
}

TEST_F(QXHalvarinTest, CategoryReturnsTheSameArrayEveryTime) {
  start(someKeys(), {{"TC0P", "CPU proximity"}});
  const ArrayRef first = facade_->readSensorsOfType("temperature", false);
  EXPECT_EQ(facade_->readSensorsOfType("temperature", true), first);
  EXPECT_EQ(facade_->sensorKeys()->get("temperature").array(), first);
}

TEST_F(QXHalvarinTest, CategoryCostsOneReadPerKey) {
  start(someKeys(), {{"TC0P", "CPU proximity"}});
  installed_.journal->clear();
  facade_->readSensorsOfType("temperature", false);
  EXPECT_THAT(*installed_.journal, ElementsAre("call 1 read TC0P size 2 -> 2D00"));
}

TEST_F(QXHalvarinTest, MainsLimitIsAppliedOnMainsOnly) {
  start(someKeys(), {{"TC0P", "CPU proximity", "0", "40", "oC", true}});
  facade_->readSensorsOfType("temperature", false);
  EXPECT_EQ(verdict("TC0P"), Value(true));
  facade_->readSensorsOfType("temperature", true);
  EXPECT_EQ(verdict("TC0P"), Value(false));
}

TEST_F(QXHalvarinTest, ReadingOfAllKeysNeverAppliesMainsLimits) {
  CapturedLog log;
  start(someKeys(),
        {{"TC0P", "CPU proximity", "0", "40", "oC", true}, {"TC1P", "CPU proximity 2", "0", "40"}});
  for (const bool mains : {false, true}) {
    facade_->readSensorsOfType(std::nullopt, mains);
    EXPECT_EQ(verdict("TC0P"), Value(true)) << mains;
    EXPECT_EQ(verdict("TC1P"), Value(false)) << mains;
  }
}

TEST_F(QXHalvarinTest, ReadingOfAllKeysIsANewArrayOfTheSameRecords) {
  CapturedLog log;
  start(someKeys(), {});
  const ArrayRef first = facade_->readSensorsOfType(std::nullopt, false);
  const ArrayRef second = facade_->readSensorsOfType(std::nullopt, false);
  EXPECT_NE(first, second);
  EXPECT_NE(first, facade_->smcKeys());
  ASSERT_EQ(first->count(), 13U);
  EXPECT_EQ(first->at(3).dictionary(), second->at(3).dictionary());
}

TEST_F(QXHalvarinTest, ReadingOfAllKeysLogsEachUi32KeyEveryTime) {
  CapturedLog log;
  start({key("AAAA", "ui32", {0, 0, 0, 1}), key("AAAB", "ui16", {0, 1})}, {});
  facade_->readSensorsOfType("temperature", false);
  EXPECT_THAT(log.lines(), ElementsAre());
  facade_->readSensorsOfType(std::nullopt, false);
  facade_->readSensorsOfType(std::nullopt, false);
  EXPECT_THAT(log.lines(), ElementsAre("ui32 #KEY", "ui32 AAAA", "ui32 #KEY", "ui32 AAAA"));
}

TEST_F(QXHalvarinTest, FailedReadShowsItsStatusAndKeepsTheVerdict) {
  platform::TransferFault fault;
  fault.key = platform::fourBytes("TC0P");
  fault.command = 5;
  fault.firstCall = 9;  // listing two keys and reading them takes 8 transfers, a pass one
  fault.lastCall = 99;
  fault.status = static_cast<std::int32_t>(0xE00002C2);
  fault.firstCall = 10;
  platform::Simulation simulation;
  simulation.faults = {fault};
  start({key("TC0P", "sp78", {0x2D, 0})}, {{"TC0P", "CPU proximity", "0", "40"}}, simulation);
  facade_->readSensorsOfType("temperature", false);
  facade_->readSensorsOfType("temperature", false);
  const DictionaryRef record = recordOf(*facade_, "TC0P");
  EXPECT_EQ(record->get("value"), Value("error e00002c2"));
  EXPECT_EQ(record->get("isInsideLimits"), Value(false));
}

TEST_F(QXHalvarinTest, VanishedServiceShowsErrorsEverywhere) {
  platform::Simulation simulation;
  simulation.vanishAfter = 8;
  start({key("TC0P", "sp78", {0x2D, 0})}, {{"TC0P", "CPU proximity"}}, simulation);
  const ArrayRef records = facade_->readSensorsOfType("temperature", false);
  EXPECT_EQ(records->at(0).dictionary()->get("value"), Value("error e00002c0"));
}

TEST_F(QXHalvarinTest, FaultWhileDecodingEndsThePassAndTheArrayIsReturned) {
  CapturedLog log;
  auto faulty = key("TC0P", "", {0x2D, 0});
  faulty.type = {'s', 'p', '7', '\0'};
  start({faulty, key("TC1P", "sp78", {0x2E, 0})},
        {{"TC0P", "CPU proximity"}, {"TC1P", "CPU proximity 2"}});
  const ArrayRef records = facade_->readSensorsOfType("temperature", false);
  EXPECT_THAT(keysOf(records), ElementsAre("TC0P", "TC1P"));
  EXPECT_EQ(log.lines().size(), 3U);
  EXPECT_FALSE(records->at(1).dictionary()->has("isInsideLimits"));
}

TEST_F(QXHalvarinTest, AbsentPropertiesAreEmptyAndNoFault) {
  start(someKeys(), {{"TC0P", "CPU proximity"}});
  facade_->setSmcKeys(nullptr);
  EXPECT_EQ(facade_->getSMCKeysLike("T???", false)->count(), 0U);
  EXPECT_EQ(facade_->readSensorsOfType(std::nullopt, false)->count(), 0U);
  facade_->setSensorKeys(nullptr);
  EXPECT_EQ(facade_->readSensorsOfType("fans", false), nullptr);
  facade_->setMainSensorDict(nullptr);
  facade_->initializeSensorKeys();
  EXPECT_EQ(facade_->sensorDict(), nullptr);
}

TEST_F(QXHalvarinTest, ElementsThatAreNoRecordsAreLeftOut) {
  start(someKeys(), {});
  facade_->setSmcKeys(Array::make({"no record", 7}));
  EXPECT_EQ(facade_->getSMCKeysLike("*", false)->count(), 0U);
  EXPECT_EQ(facade_->readSensorsOfType(std::nullopt, false)->count(), 2U);
}

TEST_F(QXHalvarinTest, OverlappingPassesShowOnlyTrueReadingsAndVerdicts) {
  start(
      {key("TAAA", "flt ", {0x00, 0xA0, 0xAF, 0x45}), key("TC0P", "sp78", {0x2D, 0}),
       key("TF0A", "fpe2", {0x1F, 0x40})},
      {{"TAAA", "Float", "0", "6000"}, {"TC0P", "CPU", "0", "100"}, {"TF0A", "Fan", "0", "3000"}});
  const std::map<std::string, std::string> texts{
      {"TAAA", "5620.00"}, {"TC0P", "45.00"}, {"TF0A", "2000.00"}};
  std::atomic<bool> done{false};
  std::atomic<int> wrong{0};
  std::thread reader([&] {
    while (!done) {
      for (const auto& [name, text] : texts) {
        const DictionaryRef record = recordOf(*facade_, name);
        const Value value = record->get("value");
        const Value inside = record->get("isInsideLimits");
        wrong += (value.isText() && value.textView() != text) || inside == Value(false) ? 1 : 0;
      }
    }
  });
  std::vector<std::thread> passes;
  for (int i = 0; i < 4; ++i) {
    passes.emplace_back([this] {
      for (int n = 0; n < 1000; ++n) {
        facade_->readSensorsOfType("temperature", n % 2 == 0);
      }
    });
  }
  for (std::thread& pass : passes) {
    pass.join();
  }
  done = true;
  reader.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace halvarin::test
