#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "database/packer/SensorTables.h"
#include "tests/support/SharedData.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/unit/database/ShippedTables.h"

// What a slip of an editor of the shipped sensor tables leads to.

namespace halvarin::test {

namespace {

namespace fs = std::filesystem;

using packer::Model;
using packer::SensorTables;
using packer::TableError;
using packer::TableRow;

const std::vector<std::pair<std::string, std::vector<std::string>>> kTables{
    {"parts.tsv", kPartColumns},
    {"sensors/temperature.tsv", kSensorColumns},
    {"sensors/voltage.tsv", kSensorColumns},
    {"sensors/current.tsv", kSensorColumns},
    {"sensors/power.tsv", kSensorColumns},
    {"sensors/other.tsv", kSensorColumns},
    {"models.tsv", kModelColumns},
    {"exceptions.tsv", kExceptionColumns},
};

std::vector<std::string> linesOf(const fs::path& file) {
  std::vector<std::string> lines;
  std::istringstream stream(fileText(file));
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::string joinedLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  return text;
}

std::string placeOf(const std::string& message) {
  const std::size_t end = message.find(": ");
  return message.substr(0, end);
}

TEST(SensorData, IsReportedByFileAndLineWhereverARowLosesItsLastField) {
  const TemporaryFolder folder;
  std::size_t rows = 0;
  for (const auto& [table, columns] : kTables) {
    const std::vector<std::string> lines = linesOf(kData / table);
    for (const TableRow& row : packer::readTable(kData / table, columns)) {
      std::vector<std::string> damaged = lines;
      std::string& line = damaged[row.line - 1];
      line.resize(line.rfind('\t'));
      folder.write("damaged.tsv", joinedLines(damaged));
      ++rows;
      try {
        static_cast<void>(packer::readTable(folder.path() / "damaged.tsv", columns));
        ADD_FAILURE() << "no error for " << table << ":" << row.line;
      } catch (const TableError& error) {
        ASSERT_EQ(placeOf(error.what()), folder.file("damaged.tsv:" + std::to_string(row.line)));
      }
    }
  }
  EXPECT_GT(rows, 700U);
}

/// A copy of the shipped tables that can be damaged.
class DamagedCopy {
 public:
  DamagedCopy() { fs::copy(kData, folder_.path(), fs::copy_options::recursive); }

  /// The place of the error, in the folder, that a change of one line of one file leads to.
  std::string placeOfErrorWith(const std::string& file, std::size_t line, const std::string& text) {
    std::vector<std::string> lines = linesOf(kData / file);
    lines.at(line - 1) = text;
    folder_.write(file, joinedLines(lines));
    std::string place = "(no error)";
    try {
      static_cast<void>(SensorTables(folder_.path()).resolveAll());
    } catch (const TableError& error) {
      place = placeOf(error.what()).substr(folder_.path().string().size() + 1);
    }
    folder_.write(file, fileText(kData / file));
    return place;
  }

 private:
  TemporaryFolder folder_;
};

std::string withField(const TableRow& row, std::size_t field, const std::string& value) {
  std::string line;
  for (std::size_t i = 0; i < row.fields.size(); ++i) {
    line += (i == 0 ? "" : "\t") + (i == field ? value : row.fields[i]);
  }
  return line;
}

// The first and the last row of each table stand for the others, which the same code reads.
TEST(SensorData, IsReportedByFileAndLineWhereverAFieldIsWrong) {
  struct Slip {
    const char* name;
    std::vector<std::string> tables;
    std::size_t field;
    const char* value;
  };
  const std::vector<std::string> sensorTables{"sensors/temperature.tsv", "sensors/voltage.tsv",
                                              "sensors/current.tsv", "sensors/power.tsv",
                                              "sensors/other.tsv"};
  DamagedCopy copy;
  for (const Slip& slip : std::vector<Slip>{{"kind", {"parts.tsv"}, 1, "Heat"},
                                            {"one limit", {"parts.tsv"}, 3, "1"},
                                            {"mains", {"parts.tsv"}, 5, "maybe"},
                                            {"key", sensorTables, 0, "TC0"},
                                            {"on", sensorTables, 1, "nowhere"},
                                            {"part", sensorTables, 2, "no-such-part"},
                                            {"description", sensorTables, 3, "-"},
                                            {"platform", {"models.tsv"}, 3, "arm"},
                                            {"list", {"models.tsv"}, 4, "rumour"},
                                            {"model", {"exceptions.tsv"}, 0, "Mac1,1"},
                                            {"key", {"exceptions.tsv"}, 1, "XXXX"},
                                            {"field", {"exceptions.tsv"}, 2, "unit"}}) {
    for (const std::string& table : slip.tables) {
      const auto columns = std::find_if(kTables.begin(), kTables.end(), [&](const auto& each) {
                             return each.first == table;
                           })->second;
      const std::vector<TableRow> rows = packer::readTable(kData / table, columns);
      const std::array ends{rows.front(), rows.back()};
      for (const TableRow& row : ends) {
        const bool takesLimitAway =
            std::string_view(slip.name) == "one limit" && row.fields[3] != "-";
        const std::string place = copy.placeOfErrorWith(
            table, row.line, withField(row, slip.field, takesLimitAway ? "-" : slip.value));
        // A key that loses its row is told where the key stands, which is in the model's list.
        const bool inList = std::string_view(slip.name) == "on";
        const std::string expected = inList ? "models/" : table + ":" + std::to_string(row.line);
        EXPECT_EQ(place.substr(0, expected.size()), expected) << slip.name << " of " << table;
      }
    }
  }
}

TEST(SensorData, IsReportedByFileAndLineWhereverAModelListsAKeyThatNoRowDescribes) {
  DamagedCopy copy;
  for (const Model& model : shipped().tables.models()) {
    const std::string file = "models/" + model.identifier + ".txt";
    const TableRow& last = model.keys.back();
    std::string line = linesOf(kData / file).at(last.line - 1) + " ZZZZ";
    EXPECT_EQ(copy.placeOfErrorWith(file, last.line, line), file + ":" + std::to_string(last.line));
  }
}

}  // namespace

}  // namespace halvarin::test
