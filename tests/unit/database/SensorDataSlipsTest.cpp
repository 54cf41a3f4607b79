#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "database/packer/SensorResolver.h"
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

/// Every table with its columns.
std::map<std::string, std::vector<std::string>> allTables() {
  std::map<std::string, std::vector<std::string>> tables{{"parts.tsv", kPartColumns},
                                                         {"models.tsv", kModelColumns},
                                                         {"families.tsv", kFamilyColumns},
                                                         {"exceptions.tsv", kExceptionColumns}};
  for (const std::string& table : sensorTables()) {
    tables.emplace(table, kSensorColumns);
  }
  return tables;
}

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

// The first and the last row of each table stand for the others, which the same code reads.
std::vector<TableRow> endsOf(const std::string& table, const std::vector<std::string>& columns) {
  const std::vector<TableRow> rows = packer::readTable(kData / table, columns);
  EXPECT_FALSE(rows.empty()) << table;
  return rows.empty() ? rows : std::vector<TableRow>{rows.front(), rows.back()};
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
      static_cast<void>(resolveAll(SensorTables(folder_.path())));
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

TEST(SensorData, IsReportedByFileAndLineWhereARowLosesItsLastField) {
  DamagedCopy copy;
  for (const auto& [table, columns] : allTables()) {
    for (const TableRow& row : endsOf(table, columns)) {
      std::string line = withField(row, 0, row.fields[0]);
      line.resize(line.rfind('\t'));
      EXPECT_EQ(copy.placeOfErrorWith(table, row.line, line),
                table + ":" + std::to_string(row.line));
    }
  }
}

TEST(SensorData, IsReportedByFileAndLineWhereAFieldIsWrong) {
  struct Slip {
    const char* name;
    std::vector<std::string> tables;
    std::size_t field;
    const char* value;
  };
  DamagedCopy copy;
  const auto tables = allTables();
  for (const Slip& slip : std::vector<Slip>{{"kind", {"parts.tsv"}, 1, "Heat"},
                                            {"one limit", {"parts.tsv"}, 3, "1"},
                                            {"mains", {"parts.tsv"}, 5, "maybe"},
                                            {"key", sensorTables(), 0, "TC0"},
                                            {"part", sensorTables(), 2, "no-such-part"},
                                            {"description", sensorTables(), 3, "-"},
                                            {"platform", {"models.tsv"}, 3, "arm"},
                                            {"list", {"models.tsv"}, 4, "rumour"},
                                            {"model", {"families.tsv"}, 0, "Mac1,1"},
                                            {"relative", {"families.tsv"}, 1, "Mac1,1"},
                                            {"lack", {"families.tsv"}, 2, "no-such-part"},
                                            {"key", {"exceptions.tsv"}, 0, "XXXX"},
                                            {"models", {"exceptions.tsv"}, 1, "Mac1,1"},
                                            {"part", {"exceptions.tsv"}, 2, "no-such-part"}}) {
    for (const std::string& table : slip.tables) {
      for (const TableRow& row : endsOf(table, tables.at(table))) {
        const bool takesLimitAway =
            std::string_view(slip.name) == "one limit" && row.fields[3] != "-";
        const std::string place = copy.placeOfErrorWith(
            table, row.line, withField(row, slip.field, takesLimitAway ? "-" : slip.value));
        EXPECT_EQ(place, table + ":" + std::to_string(row.line)) << slip.name << " of " << table;
      }
    }
  }
}

// A key that loses its row is told where the key stands, which is in a model's list.
TEST(SensorData, IsReportedByFileAndLineWhereNoRowIsLeftForAKey) {
  DamagedCopy copy;
  for (const std::string& table : sensorTables()) {
    for (const TableRow& row : endsOf(table, kSensorColumns)) {
      const std::string place =
          copy.placeOfErrorWith(table, row.line, withField(row, 1, "nowhere"));
      EXPECT_TRUE(place.rfind("models/", 0) == 0 || place == table + ":" + std::to_string(row.line))
          << place;
    }
  }
}

TEST(SensorData, IsReportedByFileAndLineWhereAModelListsAKeyThatNoRowDescribes) {
  DamagedCopy copy;
  std::vector<const Model*> withList;
  for (const Model& model : shipped().tables.models()) {
    if (model.relative.model.empty()) {
      withList.push_back(&model);
    }
  }
  for (const Model* model : {withList.front(), withList.back()}) {
    const std::string file = "models/" + model->identifier + ".txt";
    const TableRow& last = model->keys.back();
    const std::string line = linesOf(kData / file).at(last.line - 1) + " ZZZZ";
    EXPECT_EQ(copy.placeOfErrorWith(file, last.line, line), file + ":" + std::to_string(last.line));
  }
}

}  // namespace

}  // namespace halvarin::test
