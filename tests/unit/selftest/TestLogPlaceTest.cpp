#include "selftest/TestLogPlace.h"

#include <gtest/gtest.h>

#include <string>

namespace halvarin::test {
namespace {

TEST(TestLogPlace, FoldersLieAtTheTopUntilARootIsChosen) {
  EXPECT_EQ(pathOfTestFolder("/logs"), "/logs");
  placeTestLogsUnder("/elsewhere");
  EXPECT_EQ(pathOfTestFolder("/logs"), "/elsewhere/logs");
  placeTestLogsUnder("");
  EXPECT_EQ(pathOfTestFolder("/logs"), "/logs");
}

TEST(TestLogPlace, FilesLieInTheirFolder) {
  placeTestLogsUnder("/elsewhere");
  EXPECT_EQ(pathOfTestFile("/logs", "a b.log"), "/elsewhere/logs/a b.log");
  EXPECT_EQ(pathOfTestFile("/logs", "...log"), "/elsewhere/logs/...log");
}

TEST(TestLogPlace, NamesThatLeadElsewhereHaveNoPath) {
  for (const std::string& name :
       {std::string("/"), std::string("a/b"), std::string("../a"), std::string("/etc/a"),
        std::string("a/"), std::string("a\0b", 3), std::string("\0", 1)}) {
    EXPECT_EQ(pathOfTestFile("/logs", name), "") << name;
  }
}

}  // namespace
}  // namespace halvarin::test
