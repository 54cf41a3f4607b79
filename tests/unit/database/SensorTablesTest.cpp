#include "database/packer/SensorTables.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/unit/database/TableFolder.h"

namespace halvarin::test {

namespace {

using packer::Sensor;
using packer::SensorTables;
using packer::TableError;

using Change = std::function<void(TableFolder&)>;

/// The sensors of every model of the changed tables.
std::vector<std::vector<Sensor>> sensorsOf(const Change& change) {
  TableFolder tables;
  change(tables);
  const TemporaryFolder folder;
  tables.write(folder);
  try {
    return SensorTables(folder.path()).resolveAll();
  } catch (const TableError& error) {
    ADD_FAILURE() << error.what();
    return std::vector<std::vector<Sensor>>(3);
  }
}

/// The error of the changed tables, without the folder before the file's name.
std::string faultOf(const Change& change) {
  TableFolder tables;
  change(tables);
  const TemporaryFolder folder;
  tables.write(folder);
  try {
    static_cast<void>(SensorTables(folder.path()).resolveAll());
  } catch (const TableError& error) {
    const std::string text = error.what();
    const std::string before = folder.path().string() + "/";
    return text.rfind(before, 0) == 0 ? text.substr(before.size()) : text;
  }
  return "(no fault)";
}

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

void nothing(TableFolder& /*tables*/) {}

/// Adds exceptions and takes what they change of the key of the first model.
Sensor withExceptions(const std::string& key, const std::vector<std::string>& exceptions) {
  return sensor(sensorsOf([&](TableFolder& tables) {
                  for (const std::string& each : exceptions) {
                    tables.append("exceptions.tsv", "Alpha1,1\t" + key + "\t" + each + "\twhy");
                  }
                }).front(),
                key);
}

TEST(SensorTables, KeepModelsInTheOrderOfTheirTable) {
  TableFolder tables;
  const TemporaryFolder folder;
  tables.write(folder);
  const SensorTables loaded(folder.path());
  ASSERT_EQ(loaded.models().size(), 3U);
  const packer::Model& first = loaded.models().front();
  EXPECT_EQ(first.identifier, "Alpha1,1");
  EXPECT_EQ(first.name, "Alpha (2020)");
  EXPECT_EQ(first.chip, "Chip A");
  EXPECT_EQ(first.platform, "intel");
  EXPECT_EQ(first.list, "dump");
  EXPECT_EQ(loaded.models()[1].identifier, "Beta1,1");
  EXPECT_EQ(loaded.models()[2].identifier, "Gamma1,1");
}

TEST(SensorTables, SettleTheSensorsOfAModelInTheOrderOfItsList) {
  const auto all = sensorsOf(nothing);
  ASSERT_EQ(all.size(), 3U);
  std::vector<std::string> keys;
  for (const Sensor& each : all.front()) {
    keys.push_back(each.key);
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"MSLD", "TA0P", "TC0P", "VP0R"}));
}

TEST(SensorTables, TakeUnitAndLimitsFromThePart) {
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

TEST(SensorTables, PreferTheRowOfTheChipOverThePlatformOverEveryMachine) {
  const auto all = sensorsOf(nothing);
  EXPECT_EQ(sensor(all[0], "TC0P").description, "Die of the platform");
  EXPECT_EQ(sensor(all[1], "TC0P").description, "Die of the chip");
  EXPECT_EQ(sensor(all[2], "TC0P").description, "Die of any machine");
}

TEST(SensorTables, PreferTheMoreExactRowWhateverTheirOrder) {
  const auto all = sensorsOf([](TableFolder& tables) {
    tables.files["sensors/temperature.tsv"] =
        "key\ton\tpart\tdescription\n"
        "TA0P\t*\tair\tRoom air\n"
        "TC0P\tChip B\tdie\tDie of the chip\n"
        "TC0P\tintel\tdie\tDie of the platform\n"
        "TC0P\t*\tdie\tDie of any machine\n";
  });
  EXPECT_EQ(sensor(all[0], "TC0P").description, "Die of the platform");
  EXPECT_EQ(sensor(all[1], "TC0P").description, "Die of the chip");
  EXPECT_EQ(sensor(all[2], "TC0P").description, "Die of any machine");
}

TEST(SensorTables, ReplaceWhatAnExceptionSays) {
  EXPECT_EQ(withExceptions("TA0P", {"description\tIncoming air"}).description, "Incoming air");
  const Sensor limits = withExceptions("TA0P", {"low\t-20", "high\t55"});
  EXPECT_EQ(limits.part.low, "-20");
  EXPECT_EQ(limits.part.high, "55");
  EXPECT_EQ(limits.description, "Room air");
  EXPECT_EQ(withExceptions("TA0P", {"high\t60"}).part.low, "0");
  EXPECT_TRUE(withExceptions("TA0P", {"mains\tyes"}).part.mains);
  EXPECT_FALSE(withExceptions("VP0R", {"mains\tno"}).part.mains);
}

TEST(SensorTables, ApplyAnExceptionToItsModelAndKeyOnly) {
  const auto all = sensorsOf([](TableFolder& tables) {
    tables.append("exceptions.tsv", "Alpha1,1\tTC0P\tdescription\tAnother die\twhy");
  });
  EXPECT_EQ(sensor(all[0], "TC0P").description, "Another die");
  EXPECT_EQ(sensor(all[0], "TA0P").description, "Room air");
  EXPECT_EQ(sensor(all[1], "TC0P").description, "Die of the chip");
  EXPECT_EQ(sensor(all[2], "TC0P").description, "Die of any machine");
}

TEST(SensorTables, MoveAKeyToAnotherPartWithItsLimits) {
  const Sensor moved = withExceptions("TA0P", {"part\tbus"});
  EXPECT_EQ(moved.part.kind, "Voltage");
  EXPECT_EQ(moved.part.unit, "V");
  EXPECT_EQ(moved.part.low, "8.2");
  EXPECT_EQ(moved.part.high, "14");
  EXPECT_TRUE(moved.part.mains);
  EXPECT_EQ(moved.description, "Room air");
}

TEST(SensorTables, ApplyThePartBeforeSingleFieldsWhateverTheirOrder) {
  for (const auto& exceptions : std::vector<std::vector<std::string>>{
           {"part\tbus", "high\t15", "mains\tno"}, {"high\t15", "mains\tno", "part\tbus"}}) {
    const Sensor moved = withExceptions("TA0P", exceptions);
    EXPECT_EQ(moved.part.unit, "V");
    EXPECT_EQ(moved.part.low, "8.2");
    EXPECT_EQ(moved.part.high, "15");
    EXPECT_FALSE(moved.part.mains);
  }
}

TEST(SensorTables, TakeBothLimitsAwayWithDashes) {
  const Sensor unjudged = withExceptions("TA0P", {"low\t-", "high\t-"});
  EXPECT_EQ(unjudged.part.low, "");
  EXPECT_EQ(unjudged.part.high, "");
  EXPECT_EQ(unjudged.part.unit, "oC");
}

TEST(SensorTables, CountAPartAsUsedThatOnlyAnExceptionNames) {
  EXPECT_EQ(faultOf([](TableFolder& tables) {
              tables.append("parts.tsv", "rare\tTemperature\toC\t0\t1\tno\twhy");
              tables.append("exceptions.tsv", "Alpha1,1\tTA0P\tpart\trare\twhy");
            }),
            "(no fault)");
}

TEST(SensorTables, AllowOneDescriptionForTwoKindsInAModel) {
  EXPECT_EQ(faultOf([](TableFolder& tables) {
              tables.append("exceptions.tsv", "Alpha1,1\tVP0R\tdescription\tRoom air\twhy");
            }),
            "(no fault)");
}

struct Fault {
  const char* name;
  Change change;
  const char* fault;

  friend void PrintTo(const Fault& row, std::ostream* stream) { *stream << row.name; }
};

const std::vector<Fault> kFaults{
    // parts.tsv
    {"UnknownKind",
     [](TableFolder& tables) { tables.replace("parts.tsv", "Magnetometer", "Magnet"); },
     "parts.tsv:5: \"Magnet\" is no kind; known are: Temperature, Voltage, Current, Power, "
     "Photometer, Accelerometer, Magnetometer, Calibration, Fan"},
    {"PartWithoutKind",
     [](TableFolder& tables) { tables.replace("parts.tsv", "air\tTemperature", "air\t-"); },
     "parts.tsv:2: \"-\" is no kind; known are: Temperature, Voltage, Current, Power, Photometer, "
     "Accelerometer, Magnetometer, Calibration, Fan"},
    {"PartWithOneLimit", [](TableFolder& tables) { tables.replace("parts.tsv", "0\t50", "0\t-"); },
     "parts.tsv:2: a low limit without a high one, or the other way round, judges nothing"},
    {"PartWithALimitThatIsNoNumber",
     [](TableFolder& tables) { tables.replace("parts.tsv", "0\t50", "0\t5O"); },
     "parts.tsv:2: the limit \"5O\" is no decimal number"},
    {"PartWithCrossedLimits",
     [](TableFolder& tables) { tables.replace("parts.tsv", "8.2\t14", "14\t8.2"); },
     "parts.tsv:4: the low limit 14 is above the high limit 8.2"},
    {"PartWithAnotherAnswerThanYesOrNo",
     [](TableFolder& tables) { tables.replace("parts.tsv", "14\tyes", "14\ttrue"); },
     "parts.tsv:4: \"true\" is no answer; known are: yes, no"},
    {"PartTwice",
     [](TableFolder& tables) {
       tables.append("parts.tsv", "air\tTemperature\toC\t0\t50\tno\tagain");
     },
     "parts.tsv:6: the part \"air\" is in the table twice"},
    {"PartUnused",
     [](TableFolder& tables) { tables.append("parts.tsv", "rare\tPower\tW\t0\t1\tno\twhy"); },
     "parts.tsv:6: no sensor is of the part \"rare\""},
    {"PartWithAMissingField",
     [](TableFolder& tables) { tables.replace("parts.tsv", "\troom air", ""); },
     "parts.tsv:2: the row has 6 fields, the table has 7 columns: part | kind | unit | low | high "
     "| mains | reason"},
    {"PartsMissing", [](TableFolder& tables) { tables.files.erase("parts.tsv"); },
     "parts.tsv:0: the file cannot be read"},
    // sensors/*.tsv
    {"KeyOfThree",
     [](TableFolder& tables) { tables.replace("sensors/temperature.tsv", "TA0P", "TA0"); },
     "sensors/temperature.tsv:2: \"TA0\" is no key of four characters"},
    {"KeyOfFive",
     [](TableFolder& tables) { tables.replace("sensors/temperature.tsv", "TA0P", "TA0PP"); },
     "sensors/temperature.tsv:2: \"TA0PP\" is no key of four characters"},
    {"KeyWithABlank",
     [](TableFolder& tables) { tables.replace("sensors/temperature.tsv", "TA0P", "TA P"); },
     "sensors/temperature.tsv:2: \"TA P\" is no key of four characters"},
    {"SensorOfAnUnknownPart",
     [](TableFolder& tables) { tables.replace("sensors/voltage.tsv", "\tbus\t", "\tbuss\t"); },
     "sensors/voltage.tsv:2: parts.tsv has no part \"buss\""},
    {"SensorWithoutDescription",
     [](TableFolder& tables) { tables.replace("sensors/voltage.tsv", "Main bus", "-"); },
     "sensors/voltage.tsv:2: a sensor needs a description"},
    {"SensorTwice",
     [](TableFolder& tables) {
       tables.append("sensors/temperature.tsv", "TC0P\tintel\tdie\tAgain");
     },
     "sensors/temperature.tsv:6: the key TC0P on \"intel\" is in the tables twice"},
    {"SensorTwiceInTwoTables",
     [](TableFolder& tables) { tables.append("sensors/other.tsv", "TA0P\t*\tair\tAgain"); },
     "sensors/other.tsv:3: the key TA0P on \"*\" is in the tables twice"},
    {"SensorUnused",
     [](TableFolder& tables) { tables.append("sensors/power.tsv", "PC0R\t*\tair\tUnused"); },
     "sensors/power.tsv:2: no model uses this row for PC0R"},
    {"SensorOnAPlatformThatNoModelHas",
     [](TableFolder& tables) {
       tables.append("sensors/temperature.tsv", "TC0P\tintell\tdie\tMistyped");
     },
     "sensors/temperature.tsv:6: no model uses this row for TC0P"},
    {"SensorTableMissing", [](TableFolder& tables) { tables.files.erase("sensors/current.tsv"); },
     "sensors/current.tsv:0: the file cannot be read"},
    // models.tsv and models/*.txt
    {"UnknownPlatform", [](TableFolder& tables) { tables.replace("models.tsv", "silicon", "arm"); },
     "models.tsv:4: \"arm\" is no platform; known are: intel, silicon"},
    {"UnknownList", [](TableFolder& tables) { tables.replace("models.tsv", "report", "rumour"); },
     "models.tsv:3: \"rumour\" is no list; known are: dump, firmware, report, listed, family"},
    {"ModelTwice",
     [](TableFolder& tables) {
       tables.append("models.tsv", "Beta1,1\tBeta again\tChip B\tintel\tdump");
     },
     "models.tsv:5: the model Beta1,1 is in the table twice"},
    {"ModelWithoutFile", [](TableFolder& tables) { tables.files.erase("models/Beta1,1.txt"); },
     "models/Beta1,1.txt:0: the file cannot be read"},
    {"FileWithoutModel",
     [](TableFolder& tables) { tables.files["models/Delta1,1.txt"] = "TC0P\n"; },
     "models/Delta1,1.txt:0: no row of models.tsv names this file"},
    {"ModelWithABadKey",
     [](TableFolder& tables) { tables.replace("models/Alpha1,1.txt", "VP0R", "VP0"); },
     "models/Alpha1,1.txt:3: \"VP0\" is no key of four characters"},
    {"ModelWithAKeyTwice",
     [](TableFolder& tables) { tables.replace("models/Alpha1,1.txt", "VP0R", "VP0R TA0P"); },
     "models/Alpha1,1.txt:3: the key TA0P is in the list twice"},
    {"KeyWithoutAnyRow",
     [](TableFolder& tables) { tables.replace("models/Alpha1,1.txt", "VP0R", "VP0R VXYZ"); },
     "models/Alpha1,1.txt:3: no sensor row says what VXYZ means on Alpha1,1"},
    {"KeyWithoutARowForItsModel",
     [](TableFolder& tables) { tables.replace("models/Gamma1,1.txt", "TC0P", "TC0P VP0R"); },
     "models/Gamma1,1.txt:1: no sensor row says what VP0R means on Gamma1,1"},
    {"TwoSensorsOfAKindWithOneDescription",
     [](TableFolder& tables) {
       tables.append("exceptions.tsv", "Alpha1,1\tTC0P\tdescription\tRoom air\twhy");
     },
     "models/Alpha1,1.txt:3: two sensors of Alpha1,1 are called \"Room air\""},
    {"ModelsMissing", [](TableFolder& tables) { tables.files.erase("models.tsv"); },
     "models.tsv:0: the file cannot be read"},
    // exceptions.tsv
    {"ExceptionForAnUnknownField",
     [](TableFolder& tables) { tables.append("exceptions.tsv", "Alpha1,1\tTA0P\tunit\tK\twhy"); },
     "exceptions.tsv:2: \"unit\" is no field; known are: description, part, low, high, mains"},
    {"ExceptionForAnUnknownModel",
     [](TableFolder& tables) { tables.append("exceptions.tsv", "Delta1,1\tTA0P\tlow\t1\twhy"); },
     "exceptions.tsv:2: no model Delta1,1 with a key TA0P: the exception is not used"},
    {"ExceptionForAKeyThatTheModelHasNot",
     [](TableFolder& tables) { tables.append("exceptions.tsv", "Beta1,1\tTA0P\tlow\t1\twhy"); },
     "exceptions.tsv:2: no model Beta1,1 with a key TA0P: the exception is not used"},
    {"ExceptionTwice",
     [](TableFolder& tables) {
       tables.append("exceptions.tsv", "Alpha1,1\tTA0P\thigh\t60\twhy");
       tables.append("exceptions.tsv", "Alpha1,1\tTA0P\thigh\t61\twhy");
     },
     "exceptions.tsv:3: this exception is in the table twice"},
    {"ExceptionToAnUnknownPart",
     [](TableFolder& tables) { tables.append("exceptions.tsv", "Alpha1,1\tTA0P\tpart\tsea\twhy"); },
     "exceptions.tsv:2: parts.tsv has no part \"sea\""},
    {"ExceptionWithAnotherAnswerThanYesOrNo",
     [](TableFolder& tables) { tables.append("exceptions.tsv", "Alpha1,1\tTA0P\tmains\t-\twhy"); },
     "exceptions.tsv:2: \"-\" is no answer; known are: yes, no"},
    {"ExceptionThatTakesOneLimitAway",
     [](TableFolder& tables) { tables.append("exceptions.tsv", "Alpha1,1\tTA0P\tlow\t-\twhy"); },
     "exceptions.tsv:2: a low limit without a high one, or the other way round, judges nothing"},
    {"ExceptionThatGivesOneLimitToAPartWithoutLimits",
     [](TableFolder& tables) { tables.append("exceptions.tsv", "Alpha1,1\tMSLD\thigh\t1\twhy"); },
     "exceptions.tsv:2: a low limit without a high one, or the other way round, judges nothing"},
    {"ExceptionThatCrossesTheLimits",
     [](TableFolder& tables) { tables.append("exceptions.tsv", "Alpha1,1\tTA0P\tlow\t51\twhy"); },
     "exceptions.tsv:2: the low limit 51 is above the high limit 50"},
    {"ExceptionWithALimitThatIsNoNumber",
     [](TableFolder& tables) {
       tables.append("exceptions.tsv", "Alpha1,1\tTA0P\thigh\twarm\twhy");
     },
     "exceptions.tsv:2: the limit \"warm\" is no decimal number"},
    {"ExceptionThatTakesTheDescriptionAway",
     [](TableFolder& tables) {
       tables.append("exceptions.tsv", "Alpha1,1\tTA0P\tdescription\t-\twhy");
     },
     "exceptions.tsv:2: a sensor needs a description"},
    {"ExceptionWithoutReason",
     [](TableFolder& tables) { tables.append("exceptions.tsv", "Alpha1,1\tTA0P\thigh\t60"); },
     "exceptions.tsv:2: the row has 4 fields, the table has 5 columns: model | key | field | value "
     "| reason"},
    {"ExceptionsMissing", [](TableFolder& tables) { tables.files.erase("exceptions.tsv"); },
     "exceptions.tsv:0: the file cannot be read"},
};

class SensorTableFault : public ::testing::TestWithParam<Fault> {};

TEST_P(SensorTableFault, IsReportedWithFileLineAndReason) {
  EXPECT_EQ(faultOf(GetParam().change), GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(Rows, SensorTableFault, ::testing::ValuesIn(kFaults),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(SensorTables, AreSoundBeforeTheyAreDamaged) {
  EXPECT_EQ(faultOf(nothing), "(no fault)");
}

}  // namespace

}  // namespace halvarin::test
