#include "selftest/TestLog.h"

#include <gtest/gtest.h>

#include <string>

#include "selftest/TestLogPlace.h"

namespace halvarin::test {
namespace {

constexpr platform::LocalTime kTime{2024, 3, 7, 8, 5, 9, 4};

TEST(TestLog, FoldersLieInTheSystemsLogFolder) {
  EXPECT_EQ(kTestLogFolder, "/Library/Logs/QRB");
  EXPECT_EQ(kFanCsvFolder, "/Library/Logs/QRB/fantest_csv");
}

TEST(CsvPath, JoinsLocationModelUserAndMinute) {
  EXPECT_EQ(csvPath("main", "Lab1", "ann", kTime),
            "/Library/Logs/QRB/fantest_csv/main_Lab1_ann_2403070805.csv");
}

TEST(CsvPath, KeepsTheCommaOfAModel) {
  EXPECT_EQ(csvPath("main", "iMac9,1", "ann", kTime),
            "/Library/Logs/QRB/fantest_csv/main_iMac9,1_ann_2403070805.csv");
}

TEST(CsvPath, HasTheLocationInSmallLettersWithItsBlanksAndTheRestAsItIs) {
  EXPECT_EQ(csvPath("Left \u00DCber  ", "Mac Pro", "Ann B", kTime),
            "/Library/Logs/QRB/fantest_csv/left \u00FCber  _Mac Pro_Ann B_2403070805.csv");
}

TEST(CsvPath, KeepsThePlaceOfTextsThatAreEmpty) {
  EXPECT_EQ(csvPath("", "", "", kTime), "/Library/Logs/QRB/fantest_csv/___2403070805.csv");
}

TEST(CsvPath, LiesUnderTheRootOfTheTestLogs) {
  placeTestLogsUnder("/elsewhere");
  EXPECT_EQ(csvPath("main", "Lab1", "ann", kTime),
            "/elsewhere/Library/Logs/QRB/fantest_csv/main_Lab1_ann_2403070805.csv");
}

TEST(CsvPath, IsEmptyForTextsThatLeadElsewhere) {
  for (const std::string& odd :
       {std::string("../x"), std::string("a/b"), std::string("/"), std::string("a\0b", 3)}) {
    EXPECT_EQ(csvPath(odd, "Lab1", "ann", kTime), "") << odd;
    EXPECT_EQ(csvPath("main", odd, "ann", kTime), "") << odd;
    EXPECT_EQ(csvPath("main", "Lab1", odd, kTime), "") << odd;
  }
}

}  // namespace
}  // namespace halvarin::test
