#include "selftest/TestLogWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>

#include "selftest/TimeText.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/TimeZone.h"
#include "tests/support/WithoutRights.h"
#include "tests/unit/selftest/TestLogFolder.h"

namespace halvarin::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr std::size_t kStampLength = 23;
const std::string kStamp = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}";

TEST(TestLogLine, IsStampTwoBlanksEntryAndLineFeed) {
  EXPECT_EQ(testLogLine({2024, 3, 7, 8, 5, 9, 4}, "Fan 0: 2000 RPM"),
            "2024-03-07 08:05:09.004  Fan 0: 2000 RPM\n");
}

TEST(TestLogLine, OfNoEntryIsStampAndTwoBlanks) {
  EXPECT_EQ(testLogLine({2024, 3, 7, 8, 5, 9, 4}, ""), "2024-03-07 08:05:09.004  \n");
}

TEST(AppendTestLog, WritesALineToTheLogOfThatName) {
  const TestLogFolder folder;
  appendTestLog("fantest", "begun");
  EXPECT_THAT(folder.log("fantest"), MatchesRegex(kStamp + "  begun\n"));
  EXPECT_THAT(folder.names(), ElementsAre("fantest.log"));
}

TEST(AppendTestLog, WithoutNameAndEntryWritesAStampToTheDefaultLog) {
  const TestLogFolder folder;
  appendTestLog("", "");
  EXPECT_THAT(folder.log("qrb"), MatchesRegex(kStamp + "  \n"));
  EXPECT_THAT(folder.names(), ElementsAre("qrb.log"));
}

TEST(AppendTestLog, StampIsThePresentTime) {
  const TimeZone zone("UTC0");
  const TestLogFolder folder;
  const std::string before = stampText(platform::localTime());
  appendTestLog("fantest", "begun");
  const std::string after = stampText(platform::localTime());
  const std::string stamp = folder.log("fantest").substr(0, kStampLength);
  EXPECT_LE(before, stamp);
  EXPECT_LE(stamp, after);
}

TEST(AppendTestLog, StampIsInTheComputersTimeZone) {
  const TestLogFolder folder;
  const std::time_t before = std::time(nullptr);
  {
    const TimeZone zone("XST-13:30");
    appendTestLog("fantest", "begun");
  }
  std::tm told{};
  const std::string stamp = folder.log("fantest");
  ASSERT_NE(strptime(stamp.c_str(), "%Y-%m-%d %H:%M:%S", &told), nullptr) << stamp;
  const std::time_t ahead = timegm(&told) - before;
  EXPECT_GE(ahead, 13 * 3600 + 30 * 60);
  EXPECT_LE(ahead, 13 * 3600 + 30 * 60 + std::time(nullptr) - before + 1);
}

TEST(AppendTestLog, AddsToWhatIsThere) {
  const TestLogFolder folder;
  folder.makeLogs();
  const std::string path = folder.logs() + "/fantest.log";
  std::ofstream(path) << "from before\n";
  appendTestLog("fantest", "one");
  appendTestLog("fantest", "two");
  EXPECT_THAT(folder.log("fantest"),
              MatchesRegex("from before\n" + kStamp + "  one\n" + kStamp + "  two\n"));
}

TEST(AppendTestLog, KeepsLogsOfDifferentNamesApart) {
  const TestLogFolder folder;
  appendTestLog("fantest", "one");
  appendTestLog("L\u00FCfter 2", "two");
  EXPECT_THAT(folder.log("fantest"), MatchesRegex(kStamp + "  one\n"));
  EXPECT_THAT(folder.log("L\u00FCfter 2"), MatchesRegex(kStamp + "  two\n"));
}

TEST(AppendTestLog, WritesTextBeyondAsciiAsUtf8) {
  const TestLogFolder folder;
  appendTestLog("fantest", "45 \u00B0C \U0001F300");
  EXPECT_THAT(folder.log("fantest"), MatchesRegex(kStamp + "  45 \xC2\xB0"
                                                           "C \xF0\x9F\x8C\x80\n"));
}

TEST(AppendTestLog, DeliberateALineFeedInTheEntryMakesTwoLines) {
  const TestLogFolder folder;
  appendTestLog("fantest", "one\ntwo");
  EXPECT_THAT(folder.log("fantest"), MatchesRegex(kStamp + "  one\ntwo\n"));
}

TEST(AppendTestLog, MakesTheFileAgainWhenItIsGone) {
  const TestLogFolder folder;
  appendTestLog("fantest", "one");
  fs::remove_all(folder.top());
  appendTestLog("fantest", "two");
  EXPECT_THAT(folder.log("fantest"), MatchesRegex(kStamp + "  two\n"));
}

// ---- lines that are lost -----------------------------------------------------------------------

TEST(AppendTestLog, LosesALineWhenTheFolderIsAFile) {
  const TestLogFolder folder;
  fs::create_directories(fs::path(folder.logs()).parent_path());
  std::ofstream(folder.logs()) << "a file";
  appendTestLog("fantest", "lost");
  EXPECT_EQ(fileBytes(folder.logs()), "a file");
}

TEST(AppendTestLog, LosesALineWithoutTheRightsToWrite) {
  const TestLogFolder folder;
  fs::create_directory(folder.top());
  {
    const WithoutRights rights(folder.top());
    appendTestLog("fantest", "lost");
  }
  EXPECT_TRUE(fs::is_empty(folder.top()));
  appendTestLog("fantest", "found");
  EXPECT_THAT(folder.log("fantest"), MatchesRegex(kStamp + "  found\n"));
}

TEST(AppendTestLog, LosesALineWhenTheDiskIsFull) {
  const TestLogFolder folder;
  {
    const FileSizeLimit full(0);
    appendTestLog("fantest", "lost");
  }
  EXPECT_EQ(folder.log("fantest"), "");
}

TEST(AppendTestLog, LosesALineWhoseLogLiesElsewhere) {
  const TestLogFolder folder;
  folder.makeLogs();
  for (const std::string& name : namesThatLeadElsewhere()) {
    appendTestLog(name, "lost");
    EXPECT_THAT(folder.names(), IsEmpty()) << name;
  }
}

TEST(AppendTestLog, LosesALineWhoseLogHasTooLongAName) {
  const TestLogFolder folder;
  appendTestLog(std::string(300, 'x'), "lost");
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(AppendTestLog, DoesNotFollowALinkInThePlaceOfTheLog) {
  const TestLogFolder folder;
  folder.makeLogs();
  std::ofstream(folder.top() + "/elsewhere") << "untouched";
  fs::create_symlink(folder.top() + "/elsewhere", folder.logs() + "/fantest.log");
  appendTestLog("fantest", "lost");
  EXPECT_EQ(fileBytes(folder.top() + "/elsewhere"), "untouched");
}

TEST(AppendTestLog, DoesNotWaitForAPipeInThePlaceOfTheLog) {
  const TestLogFolder folder;
  folder.makeLogs();
  ASSERT_EQ(mkfifo((folder.logs() + "/fantest.log").c_str(), 0600), 0);
  appendTestLog("fantest", "lost");
  EXPECT_TRUE(fs::is_fifo(folder.logs() + "/fantest.log"));
}

}  // namespace
}  // namespace halvarin::test
