#include "database/packer/SensorTables.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/database/TableFolder.h"

// Rows of the sensor tables that are wrong by themselves. What rows mean together is tested with
// the resolver.

namespace halvarin::test {

namespace {

using packer::SensorTables;

TEST(SensorTables, KeepModelsInTheOrderOfTheirTable) {
  const TemporaryFolder folder;
  TableFolder().write(folder);
  const SensorTables loaded(folder.path());
  ASSERT_EQ(loaded.models().size(), 4U);
  const packer::Model& first = loaded.models().front();
  EXPECT_EQ(first.identifier, "Alpha1,1");
  EXPECT_EQ(first.name, "Alpha (2020)");
  EXPECT_EQ(first.chip, "Chip A");
  EXPECT_EQ(first.platform, "intel");
  EXPECT_EQ(first.list, "dump");
  EXPECT_EQ(first.relative.model, "");
  EXPECT_EQ(loaded.models()[1].identifier, "Beta1,1");
  EXPECT_EQ(loaded.models()[2].identifier, "Gamma1,1");
  EXPECT_EQ(loaded.models()[3].identifier, "Delta1,1");
}

TEST(SensorTables, TellWhoseListAModelWithoutOneSharesAndWhatItLacks) {
  const TemporaryFolder folder;
  TableFolder().write(folder);
  const SensorTables loaded(folder.path());
  const packer::Model* model = loaded.model("Delta1,1");
  ASSERT_NE(model, nullptr);
  EXPECT_TRUE(model->keys.empty());
  EXPECT_EQ(model->relative.model, "Alpha1,1");
  EXPECT_EQ(model->relative.without, (std::vector<std::string>{"bus", "TA?P"}));
  EXPECT_EQ(loaded.model("Epsilon1,1"), nullptr);
}

TEST(SensorTables, KeepAnExceptionOnceForEachModelThatItNames) {
  TableFolder tables;
  tables.append("exceptions.tsv", "TC0P\tAlpha1,1 Gamma1,1\t-\tAnother die\twhy");
  const TemporaryFolder folder;
  tables.write(folder);
  const SensorTables loaded(folder.path());
  ASSERT_EQ(loaded.exceptions().size(), 2U);
  EXPECT_EQ(loaded.exceptions().at({"Alpha1,1", "TC0P"}).description, "Another die");
  EXPECT_EQ(loaded.exceptions().at({"Gamma1,1", "TC0P"}).part, "");
}

TEST(SensorTables, TakeEveryFileOfTheFolderOfSensors) {
  TableFolder tables;
  tables.files["sensors/another.tsv"] = "key\ton\tpart\tdescription\nTZ9Z\t*\tair\tZone\n";
  const TemporaryFolder folder;
  tables.write(folder);
  EXPECT_EQ(SensorTables(folder.path()).meanings().count("TZ9Z"), 1U);
}

const std::vector<TableFault> kFaults{
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
     "sensors/temperature.tsv:2: the key TA0P on \"*\" is in the tables twice"},
    // models.tsv and models/*.txt
    {"UnknownPlatform", [](TableFolder& tables) { tables.replace("models.tsv", "silicon", "arm"); },
     "models.tsv:4: \"arm\" is no platform; known are: intel, silicon"},
    {"UnknownList", [](TableFolder& tables) { tables.replace("models.tsv", "report", "rumour"); },
     "models.tsv:3: \"rumour\" is no list; known are: dump, firmware, report, listed, family"},
    {"ModelTwice",
     [](TableFolder& tables) {
       tables.append("models.tsv", "Beta1,1\tBeta again\tChip B\tintel\tdump");
     },
     "models.tsv:6: the model Beta1,1 is in the table twice"},
    {"ModelWithoutFile", [](TableFolder& tables) { tables.files.erase("models/Beta1,1.txt"); },
     "models/Beta1,1.txt:0: the file cannot be read"},
    {"FileWithoutModel",
     [](TableFolder& tables) { tables.files["models/Epsilon1,1.txt"] = "TC0P\n"; },
     "models/Epsilon1,1.txt:0: no row of models.tsv with a list of its own names this file"},
    {"ModelWithABadKey",
     [](TableFolder& tables) { tables.replace("models/Alpha1,1.txt", "VP0R", "VP0"); },
     "models/Alpha1,1.txt:3: \"VP0\" is no key of four characters"},
    {"ModelWithAKeyTwice",
     [](TableFolder& tables) { tables.replace("models/Alpha1,1.txt", "VP0R", "VP0R TA0P"); },
     "models/Alpha1,1.txt:3: the key TA0P is in the list twice"},
    {"ModelsMissing", [](TableFolder& tables) { tables.files.erase("models.tsv"); },
     "models.tsv:0: the file cannot be read"},
    {"PartNamedLikeAKey", withRow("parts.tsv", "skin\tPower\tW\t0\t1\tno\twhy"),
     "parts.tsv:6: a part's name must not have four characters, as keys have"},
    {"SensorsMissing",
     [](TableFolder& tables) {
       for (const char* name : {"temperature", "voltage", "current", "power", "other"}) {
         tables.files.erase("sensors/" + std::string(name) + ".tsv");
       }
     },
     "sensors:0: the folder cannot be read: No such file or directory"},
    // families.tsv
    {"ModelWithoutAListOrARelative",
     [](TableFolder& tables) { tables.files["families.tsv"] = "model\tlike\twithout\treason\n"; },
     "models.tsv:5: families.tsv does not say whose list Delta1,1 shares"},
    {"RelativeOfAModelWithAList", withRow("families.tsv", "Beta1,1\tAlpha1,1\t-\twhy"),
     "families.tsv:3: models.tsv has no model Beta1,1 whose list is \"family\""},
    {"RelativeOfAnUnknownModel", withRow("families.tsv", "Epsilon1,1\tAlpha1,1\t-\twhy"),
     "families.tsv:3: models.tsv has no model Epsilon1,1 whose list is \"family\""},
    {"RelativeTwice", withRow("families.tsv", "Delta1,1\tAlpha1,1\t-\twhy"),
     "families.tsv:3: the model Delta1,1 is in the table twice"},
    {"RelativeUnknown",
     [](TableFolder& tables) { tables.replace("families.tsv", "Alpha1,1", "Epsilon1,1"); },
     "families.tsv:2: \"Epsilon1,1\" is no intel model with a list of its own"},
    {"RelativeOfAnotherPlatform",
     [](TableFolder& tables) { tables.replace("families.tsv", "Alpha1,1", "Gamma1,1"); },
     "families.tsv:2: \"Gamma1,1\" is no intel model with a list of its own"},
    {"RelativeWithoutAListOfItsOwn",
     [](TableFolder& tables) { tables.replace("families.tsv", "Alpha1,1", "Delta1,1"); },
     "families.tsv:2: \"Delta1,1\" is no intel model with a list of its own"},
    {"LackOfAnUnknownPart",
     [](TableFolder& tables) { tables.replace("families.tsv", "bus", "train"); },
     "families.tsv:2: parts.tsv has no part \"train\""},
    {"LackTwice", [](TableFolder& tables) { tables.replace("families.tsv", "bus", "bus bus"); },
     "families.tsv:2: \"bus\" is named twice in this row"},
    {"FamiliesMissing", [](TableFolder& tables) { tables.files.erase("families.tsv"); },
     "families.tsv:0: the file cannot be read"},
    // exceptions.tsv
    {"ExceptionThatChangesNothing", withRow("exceptions.tsv", "TA0P\tAlpha1,1\t-\t-\twhy"),
     "exceptions.tsv:2: the exception changes neither the part nor the description"},
    {"ExceptionForAnUnknownModel",
     withRow("exceptions.tsv", "TA0P\tAlpha1,1 Epsilon1,1\t-\tAir\twhy"),
     "exceptions.tsv:2: models.tsv has no model Epsilon1,1"},
    {"ExceptionForAModelTwice", withRow("exceptions.tsv", "TA0P\tAlpha1,1 Alpha1,1\t-\tAir\twhy"),
     "exceptions.tsv:2: \"Alpha1,1\" is named twice in this row"},
    {"ExceptionTwice",
     [](TableFolder& tables) {
       tables.append("exceptions.tsv", "TC0P\tAlpha1,1\t-\tSome die\twhy");
       tables.append("exceptions.tsv", "TC0P\tBeta1,1 Alpha1,1\t-\tOther die\twhy");
     },
     "exceptions.tsv:3: the key TC0P of Alpha1,1 is in the table twice"},
    {"ExceptionToAnUnknownPart", withRow("exceptions.tsv", "TA0P\tAlpha1,1\tsea\t-\twhy"),
     "exceptions.tsv:2: parts.tsv has no part \"sea\""},
    {"ExceptionsMissing", [](TableFolder& tables) { tables.files.erase("exceptions.tsv"); },
     "exceptions.tsv:0: the file cannot be read"},
};

class SensorTableFault : public ::testing::TestWithParam<TableFault> {};

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
