#include "selftest/SensorsVerdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Array.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

DictionaryRef sensor(const Value& description, const Value& value, const Value& unit,
                     const Value& inside = true) {
  auto record = Dictionary::make();
  record->set("description", description);
  record->set("value", value);
  record->set("unit", unit);
  record->set("isInsideLimits", inside);
  return record;
}

/// A pass with these temperatures and voltages and none of the rest.
DictionaryRef passOf(std::vector<Value> temperatures, std::vector<Value> voltages = {}) {
  const Value fan = std::make_shared<Dictionary>(
      Dictionary::Entries{{"index", 0}, {"speed", 2000.0}, {"location", "Fan0"}});
  return std::make_shared<Dictionary>(
      Dictionary::Entries{{"powerSource", "AC Power"},
                          {"fans", Array::make({fan})},
                          {"temps", Array::make(std::move(temperatures))},
                          {"voltage", Array::make(std::move(voltages))},
                          {"current", Array::make()},
                          {"power", Array::make()},
                          {"light", Array::make()}});
}

// ---- lines -------------------------------------------------------------------------------------

TEST(SensorLine, TemperatureOf45InOCEndsIn113Fahrenheit) {
  EXPECT_EQ(sensorLine(*sensor("CPU proximity", "45.00", "oC")),
            "CPU proximity: 45.00 °C, 113.00 °F");
}

TEST(SensorLine, TemperatureOf100InOCEndsIn212Fahrenheit) {
  EXPECT_EQ(sensorLine(*sensor("CPU", "100.00", "oC")), "CPU: 100.00 °C, 212.00 °F");
}

TEST(SensorLine, VoltageHasItsOwnUnit) {
  EXPECT_EQ(sensorLine(*sensor("CPU core", "1.05", "V")), "CPU core: 1.05 V");
}

TEST(SensorLine, UnitWithADegreeSignIsNotOCAndGetsTheShortLine) {
  EXPECT_EQ(sensorLine(*sensor("CPU", "45.00", "°C")), "CPU: 45.00 °C");
}

TEST(SensorLine, UnitIsOCOnlyExactly) {
  for (const char* unit : {"oc", "OC", " oC", "oC ", "oCx", "C"}) {
    EXPECT_EQ(sensorLine(*sensor("CPU", "45.00", unit)), "CPU: 45.00 " + std::string(unit));
  }
}

TEST(SensorLine, FahrenheitIsWorkedOutInSinglePrecision) {
  // In double precision this would be 13140.37.
  EXPECT_EQ(sensorLine(*sensor("CPU", "7282.43", "oC")), "CPU: 7282.43 °C, 13140.38 °F");
}

TEST(SensorLine, FahrenheitOfNegativeAndZeroTemperatures) {
  EXPECT_EQ(sensorLine(*sensor("CPU", "-40.00", "oC")), "CPU: -40.00 °C, -40.00 °F");
  EXPECT_EQ(sensorLine(*sensor("CPU", "0.00", "oC")), "CPU: 0.00 °C, 32.00 °F");
}

TEST(SensorLine, DeliberateFailedTemperatureCountsAs0Degrees) {
  EXPECT_EQ(sensorLine(*sensor("CPU", "error e00002c2", "oC")), "CPU: error e00002c2 °C, 32.00 °F");
}

TEST(SensorLine, NumberIsWrittenAsItIs) {
  EXPECT_EQ(sensorLine(*sensor("CPU", 45.5, "oC")), "CPU: 45.5 °C, 113.90 °F");
  EXPECT_EQ(sensorLine(*sensor("Light", 9, "lux")), "Light: 9 lux");
}

TEST(SensorLine, WhatTheRecordLacksIsTheNullText) {
  EXPECT_EQ(sensorLine(*sensor(Value(), "1.05", Value())), "(null): 1.05 (null)");
  EXPECT_EQ(sensorLine(*Dictionary::make()), "(null): (null) (null)");
  EXPECT_EQ(sensorLine(*sensor("CPU", Value(), "oC")), "CPU: (null) °C, 32.00 °F");
}

TEST(SensorLine, EmptyUnitLeavesTheBlankBeforeIt) {
  EXPECT_EQ(sensorLine(*sensor("Lid", "1", "")), "Lid: 1 ");
}

// ---- verdict -----------------------------------------------------------------------------------

TEST(SensorsVerdict, PassWithAllReadingsInsideIsPassedWithALineForEach) {
  const auto result =
      judgeSensors(*passOf({sensor("CPU", "45.00", "oC"), sensor("GPU", "50.00", "oC")},
                           {sensor("CPU core", "1.05", "V")}));
  EXPECT_TRUE(result.passed);
  EXPECT_THAT(result.lines, ElementsAre("CPU: 45.00 °C, 113.00 °F", "GPU: 50.00 °C, 122.00 °F",
                                        "CPU core: 1.05 V"));
}

TEST(SensorsVerdict, FansAndPowerSourceAreNotTested) {
  const auto result = judgeSensors(*passOf({}));
  EXPECT_TRUE(result.passed);
  EXPECT_THAT(result.lines, IsEmpty());
}

TEST(SensorsVerdict, OneReadingOutsideFailsTheTestWithStillAllTheLines) {
  const auto result = judgeSensors(*passOf(
      {sensor("A", "1.00", "V"), sensor("B", "99.00", "V", false), sensor("C", "3.00", "V")},
      {sensor("D", "4.00", "V")}));
  EXPECT_FALSE(result.passed);
  EXPECT_THAT(result.lines, ElementsAre("A: 1.00 V", "B: 99.00 V", "C: 3.00 V", "D: 4.00 V"));
}

TEST(SensorsVerdict, FirstOrLastReadingOutsideFailsTheTestToo) {
  EXPECT_FALSE(judgeSensors(*passOf({sensor("A", "1", "V", false), sensor("B", "1", "V")})).passed);
  EXPECT_FALSE(
      judgeSensors(*passOf({sensor("A", "1", "V")}, {sensor("B", "1", "V", false)})).passed);
}

TEST(SensorsVerdict, DeliberateCpuAxgOutsideDoesNotFailTheTestAndHasNoLine) {
  const auto result = judgeSensors(
      *passOf({sensor("CPU AXG", "128.00", "oC", false), sensor("CPU", "45.00", "oC")}));
  EXPECT_TRUE(result.passed);
  EXPECT_THAT(result.lines, ElementsAre("CPU: 45.00 °C, 113.00 °F"));
}

TEST(SensorsVerdict, OnlyTheExactDescriptionIsPassedOver) {
  for (const char* description : {"CPU AXG ", "cpu axg", "CPU AXG core", "CPU"}) {
    const auto result = judgeSensors(*passOf({sensor(description, "1.00", "V", false)}));
    EXPECT_FALSE(result.passed) << description;
    EXPECT_EQ(result.lines.size(), 1U) << description;
  }
}

TEST(SensorsVerdict, RecordWithoutAVerdictIsOutside) {
  const auto result = judgeSensors(*passOf({sensor("CPU", "error 84", "oC", Value())}));
  EXPECT_FALSE(result.passed);
  EXPECT_EQ(result.lines.size(), 1U);
}

TEST(SensorsVerdict, RecordWithoutADescriptionIsTested) {
  const auto result = judgeSensors(*passOf({sensor(Value(), "1.00", "V", false)}));
  EXPECT_FALSE(result.passed);
  EXPECT_THAT(result.lines, ElementsAre("(null): 1.00 V"));
}

TEST(SensorsVerdict, CategoriesAreTestedInTheOrderOfThePass) {
  const auto pass = std::make_shared<Dictionary>(
      Dictionary::Entries{{"light", Array::make({sensor("Light", "9", "lux")})},
                          {"fans", Array::make()},
                          {"temps", Array::make({sensor("CPU", "1.00", "V")})}});
  EXPECT_THAT(judgeSensors(*pass).lines, ElementsAre("Light: 9 lux", "CPU: 1.00 V"));
}

TEST(SensorsVerdict, EmptyPassIsPassedWithoutLines) {
  const auto result = judgeSensors(*Dictionary::make());
  EXPECT_TRUE(result.passed);
  EXPECT_THAT(result.lines, IsEmpty());
}

TEST(SensorsVerdict, WhatIsNoArrayOrNoRecordIsLeftOut) {
  const auto pass = passOf({"no record", sensor("CPU", "1.00", "V")});
  pass->set("voltage", "no array");
  const auto result = judgeSensors(*pass);
  EXPECT_TRUE(result.passed);
  EXPECT_THAT(result.lines, ElementsAre("CPU: 1.00 V"));
}

}  // namespace
}  // namespace halvarin::test
