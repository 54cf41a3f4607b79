// The data of a fan that a host saves.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Array.h"
#include "base/Exception.h"
#include "selftest/TestLogWriter.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/WithoutRights.h"
#include "tests/unit/selftest/TestLogFolder.h"

namespace halvarin::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

void save(std::vector<Value> lines) {
  saveCsv(Array(std::move(lines)), "Main ", "iMac9,1", "ann");
}

/// Where `save` writes at this minute.
std::string presentPath() {
  return csvPath("Main ", "iMac9,1", "ann", platform::localTime());
}

/// Does something as often as it takes to begin and end it in one minute, and gives the path of
/// that minute's file.
template <typename Action>
std::string pathOfMinuteOf(Action action) {
  for (;;) {
    const std::string path = presentPath();
    action(path);
    if (presentPath() == path) {
      return path;
    }
  }
}

/// What a save leaves in its file.
std::optional<std::string> saved(const std::vector<Value>& lines) {
  const TestLogFolder folder;
  return fileBytes(pathOfMinuteOf([&](const std::string&) { save(lines); }));
}

/// The exception that saving these lines throws.
Exception thrownBy(const std::vector<Value>& lines) {
  try {
    save(lines);
  } catch (const Exception& exception) {
    return exception;
  }
  return {"nothing", "was thrown"};
}

TEST(SaveCsv, NamesTheFileByLocationModelUserAndMinute) {
  const TestLogFolder folder;
  save({"1,2"});
  EXPECT_THAT(folder.names(), ElementsAre("fantest_csv", MatchesRegex("main _iMac9,1_ann_"
                                                                      "[0-9]{10}\\.csv")));
}

TEST(SaveCsv, WritesEachLineAsItStandsAndALineFeed) {
  EXPECT_EQ(saved({"time,rpm", "0,\"2000\"", "", " 1;2 ", "two\nlines"}),
            "time,rpm\n0,\"2000\"\n\n 1;2 \ntwo\nlines\n");
}

TEST(SaveCsv, WritesTextBeyondAsciiAsUtf8) {
  EXPECT_EQ(saved({"45 \u00B0C"}),
            "45 \xC2\xB0"
            "C\n");
}

TEST(SaveCsv, LeavesAnEmptyFileOfAnEmptyArray) {
  EXPECT_EQ(saved({}), "");
}

TEST(SaveCsv, TwiceInAMinuteLeavesTheSecondLinesOnly) {
  const TestLogFolder folder;
  const std::string path = pathOfMinuteOf([](const std::string&) {
    save({"first", "and longer"});
    save({"second"});
  });
  EXPECT_EQ(fileBytes(path), "second\n");
}

TEST(SaveCsv, KeepsTheFilesOfDifferentUsersApart) {
  const TestLogFolder folder;
  saveCsv(Array({"one"}), "main", "Lab1", "ann");
  saveCsv(Array({"two"}), "main", "Lab1", "ben");
  EXPECT_THAT(folder.names(), ElementsAre("fantest_csv", MatchesRegex("main_Lab1_ann_.*"),
                                          MatchesRegex("main_Lab1_ben_.*")));
}

// ---- elements that are no text -----------------------------------------------------------------

TEST(SaveCsv, ThrowsAtAnElementThatIsNoTextAndNamesItsKind) {
  const TestLogFolder folder;
  const Exception exception = thrownBy({"1", "2", 3});
  EXPECT_EQ(exception.name(), "NSInvalidArgumentException");
  EXPECT_EQ(exception.reason(), "the line at 2 is no text: Number");
  EXPECT_EQ(thrownBy({Value()}).reason(), "the line at 0 is no text: (null)");
  EXPECT_EQ(thrownBy({Array::make(), 1.5}).reason(), "the line at 0 is no text: Array");
  EXPECT_EQ(thrownBy({"1", Data()}).reason(), "the line at 1 is no text: Data");
}

TEST(SaveCsv, LeavesTheLinesBeforeAnElementThatIsNoText) {
  const TestLogFolder folder;
  const std::string path = pathOfMinuteOf([](const std::string&) {
    EXPECT_THROW(save({"1", "2", true, "4"}), Exception);
  });
  EXPECT_EQ(fileBytes(path), "1\n2\n");
}

TEST(SaveCsv, ThrowsAlsoWhenTheFileIsLost) {
  const TestLogFolder folder;
  EXPECT_THROW(saveCsv(Array({"1", 2}), "main", "../Lab1", "ann"), Exception);
  EXPECT_THAT(folder.names(), IsEmpty());
}

// ---- files that are lost -----------------------------------------------------------------------

TEST(SaveCsv, LosesTheLinesWhenTheFolderIsAFile) {
  const TestLogFolder folder;
  folder.makeLogs();
  std::ofstream(folder.csvs()) << "a file";
  save({"lost"});
  EXPECT_EQ(fileBytes(folder.csvs()), "a file");
}

TEST(SaveCsv, LosesTheLinesWithoutTheRightsToWrite) {
  const TestLogFolder folder;
  fs::create_directory(folder.top());
  {
    const WithoutRights rights(folder.top());
    save({"lost"});
  }
  EXPECT_TRUE(fs::is_empty(folder.top()));
}

TEST(SaveCsv, LosesTheLinesWhenTheDiskIsFull) {
  const TestLogFolder folder;
  const std::string path = pathOfMinuteOf([](const std::string&) {
    const FileSizeLimit full(0);
    save({"lost"});
  });
  EXPECT_EQ(fileBytes(path), "");
}

TEST(SaveCsv, LosesTheLinesOfAFileThatLiesElsewhere) {
  const TestLogFolder folder;
  folder.makeLogs();
  for (const std::string& odd : namesThatLeadElsewhere()) {
    saveCsv(Array({"lost"}), odd, "Lab1", "ann");
    saveCsv(Array({"lost"}), "main", odd, "ann");
    saveCsv(Array({"lost"}), "main", "Lab1", odd);
    EXPECT_THAT(folder.names(), IsEmpty()) << odd;
  }
}

TEST(SaveCsv, DoesNotFollowALinkInThePlaceOfTheFile) {
  const TestLogFolder folder;
  fs::create_directories(folder.csvs());
  std::ofstream(folder.top() + "/elsewhere") << "untouched";
  const std::string path = pathOfMinuteOf([&](const std::string& place) {
    fs::create_symlink(folder.top() + "/elsewhere", place);
    save({"lost"});
  });
  EXPECT_TRUE(fs::is_symlink(path));
  EXPECT_EQ(fileBytes(folder.top() + "/elsewhere"), "untouched");
}

TEST(SaveCsv, DoesNotWaitForAPipeInThePlaceOfTheFile) {
  const TestLogFolder folder;
  fs::create_directories(folder.csvs());
  const std::string path = pathOfMinuteOf([](const std::string& place) {
    ASSERT_EQ(mkfifo(place.c_str(), 0600), 0);
    save({"lost"});
  });
  EXPECT_TRUE(fs::is_fifo(path));
}

}  // namespace
}  // namespace halvarin::test
