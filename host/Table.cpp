#include "host/Table.h"

#include <algorithm>
#include <utility>

#include "base/Text.h"

namespace halvarin::host {

namespace {

std::size_t widthOf(const std::string& text) {
  const auto characters = utf16(text);
  return characters ? characters->size() : text.size();
}

std::string painted(const std::string& text, Tone tone) {
  switch (tone) {
    case Tone::good:
      return "\033[32m" + text + "\033[0m";
    case Tone::bad:
      return "\033[1;31m" + text + "\033[0m";
    case Tone::plain:
      break;
  }
  return text;
}

}  // namespace

std::vector<std::size_t> Table::widths() const {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    std::size_t width = widthOf(columns_[i].title);
    for (const auto& row : rows_) {
      width = std::max(width, widthOf(row[i].text));
    }
    widths.push_back(width);
  }
  return widths;
}

void Table::printRow(std::ostream& out, const std::vector<Cell>& cells,
                     const std::vector<std::size_t>& widths, bool colour) const {
  std::string line;
  std::string blanks;  // held back, so that no line ends in them
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::string& text = cells[i].text;
    const std::string fill(widths[i] - widthOf(text), ' ');
    const bool right = columns_[i].align == Align::right;
    blanks += "  " + (right ? fill : "");
    if (!text.empty()) {
      line += blanks + (colour ? painted(text, cells[i].tone) : text);
      blanks.clear();
    }
    blanks += right ? "" : fill;
  }
  out << line << "\n";
}

void Table::insertColumn(Column column, const std::string& text) {
  columns_.insert(columns_.begin(), std::move(column));
  for (auto& row : rows_) {
    row.insert(row.begin(), {text});
  }
}

void Table::print(std::ostream& out, bool colour, Titles titles) const {
  const std::vector<std::size_t> columnWidths = widths();
  std::vector<Cell> titleRow;
  for (const Column& column : columns_) {
    titleRow.push_back({column.title});
  }
  if (titles == Titles::shown) {
    printRow(out, titleRow, columnWidths, colour);
  }
  for (const auto& row : rows_) {
    printRow(out, row, columnWidths, colour);
  }
}

}  // namespace halvarin::host
