#include "database/packer/SensorResolver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/database/TableFolder.h"

namespace halvarin::test {

namespace {

using packer::Sensor;
using ::testing::ElementsAre;

/// The one sensor with this key.
Sensor sensor(const std::vector<Sensor>& sensors, const std::string& key) {
  for (const Sensor& each : sensors) {
    if (each.key == key) {
      return each;
    }
  }
  ADD_FAILURE() << "no sensor " << key;
  return {};
}

std::vector<std::string> keysOf(const std::vector<Sensor>& sensors) {
  std::vector<std::string> keys;
  for (const Sensor& each : sensors) {
    keys.push_back(each.key);
  }
  return keys;
}

TEST(SensorResolver, SettlesTheSensorsOfAModelInTheOrderOfItsList) {
  const auto all = sensorsOf(nothing);
  ASSERT_EQ(all.size(), 4U);
  EXPECT_THAT(keysOf(all.front()), ElementsAre("MSLD", "TA0P", "TC0P", "VP0R"));
}

TEST(SensorResolver, TakesUnitAndLimitsFromThePart) {
  const auto sensors = sensorsOf(nothing).front();
  const Sensor bus = sensor(sensors, "VP0R");
  EXPECT_EQ(bus.description, "Main bus");
  EXPECT_EQ(bus.part.kind, "Voltage");
  EXPECT_EQ(bus.part.unit, "V");
  EXPECT_EQ(bus.part.low, "8.2");
  EXPECT_EQ(bus.part.high, "14");
  EXPECT_TRUE(bus.part.mains);
  const Sensor lid = sensor(sensors, "MSLD");
  EXPECT_EQ(lid.part.unit, "");
  EXPECT_EQ(lid.part.low, "");
  EXPECT_EQ(lid.part.high, "");
  EXPECT_FALSE(lid.part.mains);
}

TEST(SensorResolver, PrefersTheRowOfTheChipOverThePlatformOverEveryMachine) {
  const auto all = sensorsOf(nothing);
  EXPECT_EQ(sensor(all[0], "TC0P").description, "Die of the platform");
  EXPECT_EQ(sensor(all[1], "TC0P").description, "Die of the chip");
  EXPECT_EQ(sensor(all[2], "TC0P").description, "Die of any machine");
}

TEST(SensorResolver, PrefersTheMoreExactRowWhateverTheirOrder) {
  const auto all = sensorsOf([](TableFolder& tables) {
    tables.files["sensors/temperature.tsv"] =
        "key\ton\tpart\tdescription\n"
        "TA0P\t*\tair\tRoom air\n"
        "TC0P\tChip B\tdie\tDie of the chip\n"
        "TC0P\tFourth\tdie\tDie of the generation\n"
        "TC0P\tintel\tdie\tDie of the platform\n"
        "TC0P\t*\tdie\tDie of any machine\n";
  });
  EXPECT_EQ(sensor(all[0], "TC0P").description, "Die of the platform");
  EXPECT_EQ(sensor(all[1], "TC0P").description, "Die of the chip");
  EXPECT_EQ(sensor(all[2], "TC0P").description, "Die of any machine");
  EXPECT_EQ(sensor(all[3], "TC0P").description, "Die of the generation");
}

TEST(SensorResolver, TakesTheFirstWordOfASiliconChipForItsGeneration) {
  const auto all = sensorsOf([](TableFolder& tables) {
    tables.replace("sensors/temperature.tsv", "TC0P\t*\tdie\tDie of any machine",
                   "TC0P\tChip\tdie\tDie of chips");
  });
  EXPECT_EQ(sensor(all[2], "TC0P").description, "Die of chips");
  EXPECT_EQ(sensor(all[0], "TC0P").description, "Die of the platform") << "an Intel chip has none";
}

TEST(SensorResolver, PrefersTheChipOverItsGeneration) {
  const auto all = sensorsOf([](TableFolder& tables) {
    tables.append("sensors/temperature.tsv", "TC0P\tCore D9 (Fourth)\tdie\tDie of the D9");
    tables.append("sensors/temperature.tsv", "TC0P\tFourth\tdie\tDie of the generation");
    tables.append("models.tsv", "Zeta1,1\tZeta\tCore D7 (Fourth)\tintel\tdump");
    tables.files["models/Zeta1,1.txt"] = "TC0P\n";
  });
  EXPECT_EQ(sensor(all[3], "TC0P").description, "Die of the D9");
  EXPECT_EQ(sensor(all[4], "TC0P").description, "Die of the generation");
}

// ---- exceptions

TEST(SensorResolver, ReplacesTheDescriptionAndKeepsThePart) {
  const auto all = sensorsOf(withRow("exceptions.tsv", "TA0P\tAlpha1,1\t-\tIncoming air\twhy"));
  EXPECT_EQ(sensor(all[0], "TA0P").description, "Incoming air");
  EXPECT_EQ(sensor(all[0], "TA0P").part.high, "50");
}

TEST(SensorResolver, MovesAKeyToAnotherPartWithItsLimits) {
  const Sensor moved =
      sensor(sensorsOf(withRow("exceptions.tsv", "TA0P\tAlpha1,1\tbus\t-\twhy"))[0], "TA0P");
  EXPECT_EQ(moved.part.kind, "Voltage");
  EXPECT_EQ(moved.part.unit, "V");
  EXPECT_EQ(moved.part.low, "8.2");
  EXPECT_EQ(moved.part.high, "14");
  EXPECT_TRUE(moved.part.mains);
  EXPECT_EQ(moved.description, "Room air");
}

TEST(SensorResolver, AppliesAnExceptionToTheModelsItNamesAndToItsKeyOnly) {
  const auto all =
      sensorsOf(withRow("exceptions.tsv", "TC0P\tAlpha1,1 Gamma1,1\t-\tAnother die\twhy"));
  EXPECT_EQ(sensor(all[0], "TC0P").description, "Another die");
  EXPECT_EQ(sensor(all[0], "TA0P").description, "Room air");
  EXPECT_EQ(sensor(all[1], "TC0P").description, "Die of the chip");
  EXPECT_EQ(sensor(all[2], "TC0P").description, "Another die");
}

TEST(SensorResolver, CountsAPartAsUsedThatOnlyAnExceptionNames) {
  EXPECT_EQ(faultOf([](TableFolder& tables) {
              tables.append("parts.tsv", "scarce\tTemperature\toC\t0\t1\tno\twhy");
              tables.append("exceptions.tsv", "TA0P\tAlpha1,1\tscarce\t-\twhy");
            }),
            "(no fault)");
}

TEST(SensorResolver, AllowsOneDescriptionForTwoKindsInAModel) {
  EXPECT_EQ(faultOf(withRow("exceptions.tsv", "VP0R\tAlpha1,1\t-\tRoom air\twhy")), "(no fault)");
}

// ---- models that share a list

TEST(SensorResolver, GivesAModelWithoutAListTheSensorsOfItsRelativeLessWhatItLacks) {
  const auto sensors = sensorsOf(nothing)[3];
  EXPECT_THAT(keysOf(sensors), ElementsAre("MSLD", "TC0P"));
}

TEST(SensorResolver, SettlesASharedKeyByTheChipOfTheModelThatSharesIt) {
  const auto all = sensorsOf(withRow("sensors/temperature.tsv", "TC0P\tFourth\tdie\tFourth die"));
  EXPECT_EQ(sensor(all[0], "TC0P").description, "Die of the platform");
  EXPECT_EQ(sensor(all[3], "TC0P").description, "Fourth die");
}

TEST(SensorResolver, SharesTheExceptionsOfTheRelative) {
  const auto all = sensorsOf(withRow("exceptions.tsv", "TC0P\tAlpha1,1\t-\tShared die\twhy"));
  EXPECT_EQ(sensor(all[3], "TC0P").description, "Shared die");
}

TEST(SensorResolver, PrefersAnExceptionOfTheModelItselfToThatOfItsRelative) {
  const auto all = sensorsOf([](TableFolder& tables) {
    tables.append("exceptions.tsv", "TC0P\tAlpha1,1\tair\tShared die\twhy");
    tables.append("exceptions.tsv", "TC0P\tDelta1,1\t-\tOwn die\twhy");
  });
  EXPECT_EQ(sensor(all[0], "TC0P").part.high, "50");
  EXPECT_EQ(sensor(all[3], "TC0P").description, "Own die");
  EXPECT_EQ(sensor(all[3], "TC0P").part.high, "110");
}

TEST(SensorResolver, TakesASensorAwayByThePartThatAnExceptionMovedItTo) {
  const auto all = sensorsOf(withRow("exceptions.tsv", "TC0P\tAlpha1,1\tbus\t-\twhy"));
  EXPECT_THAT(keysOf(all[3]), ElementsAre("MSLD"));
}

TEST(SensorResolver, NeedsNoMeaningForAKeyThatAFormTakesAway) {
  EXPECT_EQ(faultOf([](TableFolder& tables) {
              tables.append("sensors/temperature.tsv", "TZ0Z\tChip A\tair\tZone");
              tables.replace("models/Alpha1,1.txt", "TC0P", "TC0P TZ0Z");
              tables.replace("families.tsv", "TA?P", "TA?P TZ??");
            }),
            "(no fault)");
}

// ---- what does not fit together

const std::vector<TableFault> kFaults{
    {"PartUnused",
     [](TableFolder& tables) { tables.append("parts.tsv", "rarity\tPower\tW\t0\t1\tno\twhy"); },
     "parts.tsv:6: no sensor is of the part \"rarity\""},
    {"SensorUnused",
     [](TableFolder& tables) { tables.append("sensors/power.tsv", "PC0R\t*\tair\tUnused"); },
     "sensors/power.tsv:2: no model uses this row for PC0R"},
    {"SensorOnAPlatformThatNoModelHas",
     [](TableFolder& tables) {
       tables.append("sensors/temperature.tsv", "TC0P\tintell\tdie\tMistyped");
     },
     "sensors/temperature.tsv:6: no model uses this row for TC0P"},
    {"KeyWithoutAnyRow",
     [](TableFolder& tables) { tables.replace("models/Alpha1,1.txt", "VP0R", "VP0R VXYZ"); },
     "models/Alpha1,1.txt:3: no sensor row says what VXYZ means on Alpha1,1"},
    {"KeyWithoutARowForItsModel",
     [](TableFolder& tables) { tables.replace("models/Gamma1,1.txt", "TC0P", "TC0P VP0R"); },
     "models/Gamma1,1.txt:1: no sensor row says what VP0R means on Gamma1,1"},
    {"TwoSensorsOfAKindWithOneDescription",
     withRow("exceptions.tsv", "TC0P\tAlpha1,1\t-\tRoom air\twhy"),
     "models/Alpha1,1.txt:3: two sensors of Alpha1,1 are called \"Room air\""},
    {"ExceptionForAKeyThatTheModelHasNot",
     withRow("exceptions.tsv", "TA0P\tAlpha1,1 Beta1,1\t-\tAir\twhy"),
     "exceptions.tsv:2: Beta1,1 has no sensor TA0P: the exception is not used there"},
    {"ExceptionForAKeyThatAFormTookAway", withRow("exceptions.tsv", "TA0P\tDelta1,1\t-\tAir\twhy"),
     "exceptions.tsv:2: Delta1,1 has no sensor TA0P: the exception is not used there"},
    {"LackOfAPartThatTheRelativeHasNot",
     [](TableFolder& tables) {
       tables.append("parts.tsv", "rarity\tPower\tW\t0\t1\tno\twhy");
       tables.append("sensors/power.tsv", "PC0R\t*\trarity\tRare");
       tables.replace("models/Gamma1,1.txt", "TC0P", "TC0P PC0R");
       tables.replace("families.tsv", "bus", "bus rarity");
     },
     "families.tsv:2: \"rarity\" takes nothing away from the sensors of Alpha1,1"},
    {"LackOfAKeyThatTheRelativeHasNot",
     [](TableFolder& tables) { tables.replace("families.tsv", "TA?P", "TA?P TB??"); },
     "families.tsv:2: \"TB??\" takes nothing away from the sensors of Alpha1,1"},
};

class SensorResolverFault : public ::testing::TestWithParam<TableFault> {};

TEST_P(SensorResolverFault, IsReportedWithFileLineAndReason) {
  EXPECT_EQ(faultOf(GetParam().change), GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(Rows, SensorResolverFault, ::testing::ValuesIn(kFaults),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace

}  // namespace halvarin::test
