#include "database/packer/TableFile.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {

namespace {

using packer::readTable;
using packer::readWords;
using packer::TableError;
using packer::TableRow;

const std::vector<std::string> kColumns{"key", "part"};

/// The error of an action without the folder before the file's name.
std::string faultOf(const TemporaryFolder& folder, const std::function<void()>& action) {
  try {
    action();
  } catch (const TableError& error) {
    const std::string text = error.what();
    const std::string before = folder.path().string() + "/";
    return text.rfind(before, 0) == 0 ? text.substr(before.size()) : text;
  }
  return "(no fault)";
}

std::string faultOfTable(const std::string& text) {
  const TemporaryFolder folder;
  folder.write("t.tsv", text);
  return faultOf(folder, [&] { static_cast<void>(readTable(folder.path() / "t.tsv", kColumns)); });
}

TEST(TableFile, ReadsRowsWithTheirPlaces) {
  const TemporaryFolder folder;
  folder.write("t.tsv",
               "# what it is\nkey\tpart\n# a comment\nTA0P\tair\n#\n#KEY\tb # c\nTC0P\t-\n");
  const std::vector<TableRow> rows = readTable(folder.path() / "t.tsv", kColumns);
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(rows[0].fields, (std::vector<std::string>{"TA0P", "air"}));
  EXPECT_EQ(rows[0].line, 4U);
  EXPECT_EQ(rows[0].file, folder.path() / "t.tsv");
  EXPECT_EQ(rows[1].fields, (std::vector<std::string>{"#KEY", "b # c"}));  // no blank, no comment
  EXPECT_EQ(rows[1].line, 6U);
  EXPECT_EQ(rows[2].fields, (std::vector<std::string>{"TC0P", "-"}));
}

TEST(TableFile, ReadsATableWithoutRowsAndALastRowWithoutItsLineEnd) {
  const TemporaryFolder folder;
  folder.write("none.tsv", "key\tpart\n");
  folder.write("open.tsv", "key\tpart\nTA0P\tair");
  EXPECT_TRUE(readTable(folder.path() / "none.tsv", kColumns).empty());
  EXPECT_EQ(readTable(folder.path() / "open.tsv", kColumns).size(), 1U);
}

TEST(TableFile, SaysWhatIsWrongWithATable) {
  struct Row {
    const char* name;
    const char* text;
    const char* fault;
  };
  for (const Row& row : std::vector<Row>{
           {"empty", "", "t.tsv:1: the header line is missing"},
           {"comments only", "# a\n# b\n", "t.tsv:1: the header line is missing"},
           {"other columns", "key\tpart\ton\n", "t.tsv:1: the header line must be: key | part"},
           {"other order", "# a\npart\tkey\n", "t.tsv:2: the header line must be: key | part"},
           {"blanks for tabs", "key part\n", "t.tsv:1: the header line must be: key | part"},
           {"Windows line ends", "key\tpart\r\n",
            "t.tsv:1: the line ends in a carriage return; tables have plain ends"},
           {"too few fields", "key\tpart\nTA0P\n",
            "t.tsv:2: the row has 1 fields, the table has 2 columns: key | part"},
           {"too many fields", "key\tpart\nTA0P\tair\tx\n",
            "t.tsv:2: the row has 3 fields, the table has 2 columns: key | part"},
           {"empty line", "key\tpart\nTA0P\tair\n\n",
            "t.tsv:3: the row has 1 fields, the table has 2 columns: key | part"},
           {"empty field", "key\tpart\n\tair\n",
            "t.tsv:2: the field \"key\" is empty or has blanks at its ends (\"-\" means none)"},
           {"empty last field", "key\tpart\nTA0P\t\n",
            "t.tsv:2: the field \"part\" is empty or has blanks at its ends (\"-\" means none)"},
           {"blank before", "key\tpart\nTA0P\t air\n",
            "t.tsv:2: the field \"part\" is empty or has blanks at its ends (\"-\" means none)"},
           {"blank after", "key\tpart\nTA0P \tair\n",
            "t.tsv:2: the field \"key\" is empty or has blanks at its ends (\"-\" means none)"},
       }) {
    EXPECT_EQ(faultOfTable(row.text), row.fault) << row.name;
  }
}

// Otherwise the line end would become part of a description that people see.
TEST(TableFile, RefusesARowThatEndsInACarriageReturn) {
  EXPECT_EQ(faultOfTable("key\tpart\nTA0P\tair\r\n"),
            "t.tsv:2: the line ends in a carriage return; tables have plain ends");
}

TEST(TableFile, NamesAFileThatCannotBeRead) {
  const TemporaryFolder folder;
  EXPECT_EQ(
      faultOf(folder, [&] { static_cast<void>(readTable(folder.path() / "none.tsv", kColumns)); }),
      "none.tsv:0: the file cannot be read");
  EXPECT_EQ(faultOf(folder, [&] { static_cast<void>(readWords(folder.path() / "none.txt")); }),
            "none.txt:0: the file cannot be read");
}

TEST(TableFile, ReadsWordsWithTheirLines) {
  const TemporaryFolder folder;
  folder.write("w.txt", "# a comment\nTA0P  TC0P\n\n\tVP0R\n#KEY\n");
  const std::vector<TableRow> words = readWords(folder.path() / "w.txt");
  ASSERT_EQ(words.size(), 4U);
  const std::vector<std::pair<std::string, std::size_t>> expected{
      {"TA0P", 2}, {"TC0P", 2}, {"VP0R", 4}, {"#KEY", 5}};
  for (std::size_t i = 0; i < words.size(); ++i) {
    EXPECT_EQ(words[i].fields, std::vector<std::string>{expected[i].first});
    EXPECT_EQ(words[i].line, expected[i].second);
    EXPECT_EQ(words[i].file, folder.path() / "w.txt");
  }
}

TEST(TableFile, ReadsNoWordsFromAnEmptyFile) {
  const TemporaryFolder folder;
  folder.write("w.txt", "");
  EXPECT_TRUE(readWords(folder.path() / "w.txt").empty());
}

TEST(TableFile, TellsAnErrorAsFileLineAndReason) {
  EXPECT_STREQ(TableError("a/b.tsv", 12, "it is wrong").what(), "a/b.tsv:12: it is wrong");
}

TEST(TableFile, LetsARowFailWithItsOwnPlace) {
  const TemporaryFolder folder;
  const TableRow row{folder.path() / "t.tsv", 3, {}};
  EXPECT_EQ(faultOf(folder, [&] { row.fail("so it is"); }), "t.tsv:3: so it is");
}

}  // namespace

}  // namespace halvarin::test
