#include "database/packer/TableFile.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace halvarin::packer {

namespace {

bool isComment(const std::string& line) {
  return line.rfind("# ", 0) == 0 || line == "#";
}

std::vector<std::string> splitAtTabs(const std::string& line) {
  std::vector<std::string> fields(1);
  for (const char character : line) {
    if (character == '\t') {
      fields.emplace_back();
    } else {
      fields.back().push_back(character);
    }
  }
  return fields;
}

std::string joinWithBars(const std::vector<std::string>& fields) {
  std::string text;
  for (const std::string& field : fields) {
    text += (text.empty() ? "" : " | ") + field;
  }
  return text;
}

/// Calls `take(line number, line)` for every line that is no comment.
template <typename Take>
void eachLine(const std::filesystem::path& file, const Take& take) {
  std::ifstream stream(file);
  if (!stream) {
    throw TableError(file, 0, "the file cannot be read");
  }
  std::string line;
  for (std::size_t number = 1; std::getline(stream, line); ++number) {
    if (!line.empty() && line.back() == '\r') {
      throw TableError(file, number, "the line ends in a carriage return; tables have plain ends");
    }
    if (!isComment(line)) {
      take(number, line);
    }
  }
}

void checkFields(const TableRow& row, const std::vector<std::string>& columns) {
  if (row.fields.size() != columns.size()) {
    row.fail("the row has " + std::to_string(row.fields.size()) + " fields, the table has " +
             std::to_string(columns.size()) + " columns: " + joinWithBars(columns));
  }
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::string& field = row.fields[i];
    if (field.empty() || field.front() == ' ' || field.back() == ' ') {
      row.fail("the field \"" + columns[i] +
               "\" is empty or has blanks at its ends (\"-\" means "
               "none)");
    }
  }
}

}  // namespace

TableError::TableError(const std::filesystem::path& file, std::size_t line,
                       const std::string& reason)
    : std::runtime_error(file.string() + ":" + std::to_string(line) + ": " + reason) {}

std::vector<TableRow> readTable(const std::filesystem::path& file,
                                const std::vector<std::string>& columns) {
  std::vector<TableRow> rows;
  bool headerSeen = false;
  eachLine(file, [&](std::size_t number, const std::string& line) {
    TableRow row{file, number, splitAtTabs(line)};
    if (!headerSeen) {
      headerSeen = true;
      if (row.fields != columns) {
        row.fail("the header line must be: " + joinWithBars(columns));
      }
      return;
    }
    checkFields(row, columns);
    rows.push_back(std::move(row));
  });
  if (!headerSeen) {
    throw TableError(file, 1, "the header line is missing");
  }
  return rows;
}

std::vector<TableRow> readWords(const std::filesystem::path& file) {
  std::vector<TableRow> rows;
  eachLine(file, [&](std::size_t number, const std::string& line) {
    std::istringstream words(line);
    for (std::string word; words >> word;) {
      rows.push_back({file, number, {word}});
    }
  });
  return rows;
}

}  // namespace halvarin::packer
