// Fans and temperatures through the facade.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "base/Mutex.h"
#include "platform/machine/BareComputer.h"
#include "tests/support/Facades.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class QXHalvarinFansTest : public FacadeTest {};

/// Two fans and three described temperatures, of which the second is the hottest.
std::vector<platform::RecordedKey> laptopKeys() {
  return {key("F0Ac", "fpe2", {0x1F, 0x45}),
          key("F0ID", "{fds", {0, 1, 12, 0, 'L', 'e', 'f', 't', ' ', ' ', 0, 0}),
          key("F0Md", "ui8 ", {0}),
          key("F0Mn", "fpe2", {0x1F, 0x40}),
          key("F0Mx", "fpe2", {0x60, 0xE0}),
          key("F0Tg", "fpe2", {0x20, 0x00}),
          key("F1Ac", "flt ", {0x00, 0x00, 0x96, 0x44}),
          key("F1Md", "ui8 ", {1}),
          key("FNum", "ui8 ", {2}),
          key("FS! ", "ui16", {0, 2}),
          key("Ftst", "ui8 ", {0}),
          key("TA0P", "sp78", {0x1E, 0x00}),
          key("TC0P", "sp78", {0x66, 0x00}),
          key("TG0P", "sp78", {0x63, 0xE6}),
          key("VC0C", "sp78", {1, 0})};
}

constexpr std::initializer_list<Descriptor> kTemperatures{
    {"TA0P", "Ambient"}, {"TC0P", "CPU proximity"}, {"TG0P", "GPU proximity"}};

TEST_F(QXHalvarinFansTest, TemperaturesComeHottestFirstAsTheRecordsThemselves) {
  start(laptopKeys(), kTemperatures);
  const ArrayRef temperatures = facade_->readTemps();
  EXPECT_THAT(keysOf(temperatures), ElementsAre("TC0P", "TG0P", "TA0P"));
  EXPECT_EQ(temperatures->at(0).dictionary(), record("TC0P"));
  EXPECT_EQ(record("TC0P")->get("value"), Value("102.00"));
  EXPECT_THAT(keysOf(facade_->sensorKeys()->get("temperature").array()),
              ElementsAre("TA0P", "TC0P", "TG0P"));
  EXPECT_NE(facade_->readTemps(), temperatures);
}

TEST_F(QXHalvarinFansTest, TemperaturesAreJudgedAsOnBattery) {
  start(laptopKeys(), {{"TC0P", "CPU proximity", "0", "90", "oC", true}});
  EXPECT_EQ(facade_->readTemps()->at(0).dictionary()->get("isInsideLimits"), Value(true));
}

TEST_F(QXHalvarinFansTest, FansShowWhatTheirKeysSay) {
  start(laptopKeys(), kTemperatures);
  const ArrayRef fans = facade_->readFans();
  std::vector<std::string> rows;
  for (const Value& fan : fans->elements()) {
    std::string row;
    for (const auto& [name, value] : fan.dictionary()->entries()) {
      row += name.string() + "=" + value.description() + "|";
    }
    rows.push_back(row);
  }
  EXPECT_THAT(rows, ElementsAre("index=0|enabled=1|mode=0|speed=2001.25|target=2048|min=2000|"
                                "max=6200|temp=102.00|location=Left  |",
                                "index=1|enabled=1|mode=1|speed=1200|target=0|min=0|max=0|"
                                "temp=102.00|location=Fan1|"));
}

TEST_F(QXHalvarinFansTest, FansCostOneTransferForEachTemperatureAndFanKey) {
  start(laptopKeys(), kTemperatures);
  static_cast<void>(facade_->readTemps());
  EXPECT_EQ(transfers(), 3U);
  static_cast<void>(facade_->readFans());
  EXPECT_EQ(transfers(), 3U + 3U + 11U);
}

TEST_F(QXHalvarinFansTest, MachineWithoutACountHasNoFans) {
  start({key("F0Ac", "fpe2", {0x1F, 0x45}), key("TC0P", "sp78", {0x2D, 0})}, kTemperatures);
  EXPECT_EQ(facade_->readFans()->count(), 0U);
}

TEST_F(QXHalvarinFansTest, TemperatureOfEveryFanIsTheText0WithoutTemperatures) {
  start({key("FNum", "ui8 ", {2})}, {});
  const ArrayRef fans = facade_->readFans();
  EXPECT_EQ(fans->at(0).dictionary()->get("temp"), Value("0"));
  EXPECT_EQ(fans->at(1).dictionary()->get("temp"), Value("0"));
}

TEST_F(QXHalvarinFansTest, CountOfTypeUi16IsTheNumberOfFansAndNotAQuarterOfIt) {
  start({key("FNum", "ui16", {0, 2})}, {});
  EXPECT_EQ(facade_->readFans()->count(), 2U);
}

TEST_F(QXHalvarinFansTest, DigitOfAFanIsAskedOfTheFacade) {
  start({}, {});
  EXPECT_EQ(facade_->fanNum(9), "9");
  EXPECT_EQ(facade_->fanNum(10), "A");
  EXPECT_EQ(facade_->fanNum(36), "[");
}

TEST_F(QXHalvarinFansTest, CommandsWriteTheirKeysAndTheReadoutShowsIt) {
  start(laptopKeys(), kTemperatures);
  EXPECT_TRUE(facade_->setFanEnable(true));
  EXPECT_TRUE(facade_->setFanMode(1, 0));
  EXPECT_TRUE(facade_->setFanSpeed(6200, 0));
  EXPECT_TRUE(facade_->setFanMode(0, 1));
  EXPECT_FALSE(facade_->setFanSpeed(6200, 1));
  EXPECT_FALSE(facade_->setFanMode(1, 2));
  EXPECT_THAT(writeLines(installed_.journal),
              ElementsAre("call 2 write Ftst size 1 bytes 01 -> done",
                          "call 3 write F0Md size 1 bytes 01 -> done",
                          "call 4 write F0Tg size 2 bytes 60E0 -> done",
                          "call 5 write F1Md size 1 bytes 00 -> done"));
  const ArrayRef fans = facade_->readFans();
  EXPECT_EQ(fans->at(0).dictionary()->get("mode"), Value(1));
  EXPECT_EQ(fans->at(0).dictionary()->get("target"), Value(6200.0));
  EXPECT_EQ(fans->at(1).dictionary()->get("mode"), Value(0));
}

TEST_F(QXHalvarinFansTest, CommandAfterAReadingOfTheFansTakesTheCountAfresh) {
  start(laptopKeys(), kTemperatures);
  static_cast<void>(facade_->readFans());  // leaves texts in the records
  ASSERT_TRUE(installed_.machine->setReading("FNum", 1));
  EXPECT_TRUE(facade_->setFanMode(1, 0));
  EXPECT_FALSE(facade_->setFanMode(1, 1));
}

TEST(QXHalvarinWithoutController, HasNoFansAndItsCommandsAreFalse) {
  embedDatabase(databaseOf("Test1,1", {}));
  platform::setMachine(std::make_shared<platform::BareComputer>());
  const auto facade = QXHalvarin::init();
  ASSERT_TRUE(facade);
  EXPECT_EQ(facade->readTemps()->count(), 0U);
  EXPECT_EQ(facade->readFans()->count(), 0U);
  EXPECT_FALSE(facade->setFanEnable(true));
  EXPECT_FALSE(facade->setFanMode(1, 0));
  EXPECT_FALSE(facade->setFanSpeed(1200, 0));
}

TEST_F(QXHalvarinFansTest, FacadeWithoutCategoriesHasNoFans) {
  start(laptopKeys(), kTemperatures);
  facade_->setSensorKeys(nullptr);
  EXPECT_EQ(facade_->readTemps()->count(), 0U);
  EXPECT_EQ(facade_->readFans()->count(), 0U);
}

// ---- load --------------------------------------------------------------------------------------

/// A computer that counts how often each of its settings is asked for.
class CountedSettings : public platform::BareComputer {
 public:
  explicit CountedSettings(Value logicalProcessors) : logical_(std::move(logicalProcessors)) {}

  Value setting(std::string_view name) override {
    const MutexLock lock(mutex_);
    ++asked_[std::string(name)];
    return name == "hw.logicalcpu" ? logical_ : Value();
  }
  std::map<std::string, int> asked() {
    const MutexLock lock(mutex_);
    return asked_;
  }

 private:
  const Value logical_;
  Mutex mutex_;
  std::map<std::string, int> asked_ HALVARIN_GUARDED_BY(mutex_);
};

TEST_F(QXHalvarinFansTest, LoadAsksForTheLogicalProcessorsOnceAndReturns) {
  start({}, {});
  for (const Value& processors : {Value(8), Value(1), Value()}) {
    const auto computer = std::make_shared<CountedSettings>(processors);
    platform::setMachine(computer);
    facade_->loadCPUcores(true);
    EXPECT_THAT(computer->asked(), ElementsAre(testing::Pair("hw.logicalcpu", 1)));
  }
}

TEST_F(QXHalvarinFansTest, LoadThatIsNotStartedDoesNothing) {
  start({}, {});
  const auto computer = std::make_shared<CountedSettings>(8);
  platform::setMachine(computer);
  facade_->loadCPUcores(false);
  EXPECT_THAT(computer->asked(), IsEmpty());
}

}  // namespace
}  // namespace halvarin::test
