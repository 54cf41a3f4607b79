#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace halvarin::host {

enum class Tone { plain, good, bad };

/// One place of a table.
struct Cell {
  std::string text;
  Tone tone = Tone::plain;
};

enum class Align { left, right };

struct Column {
  std::string title;
  Align align = Align::left;
};

/// Rows under titled columns, each column as wide as its widest text.
class Table {
 public:
  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  /// A row has as many cells as the table has columns.
  void addRow(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }

  [[nodiscard]] bool isEmpty() const { return rows_.empty(); }

  /// Puts a column before all others, with the same text in every row.
  void insertColumn(Column column, const std::string& text);

  enum class Titles { shown, hidden };

  /// Colour says nothing that the text does not say. Hidden titles keep the columns as wide.
  void print(std::ostream& out, bool colour, Titles titles = Titles::shown) const;

 private:
  void printRow(std::ostream& out, const std::vector<Cell>& cells,
                const std::vector<std::size_t>& widths, bool colour) const;
  [[nodiscard]] std::vector<std::size_t> widths() const;

  std::vector<Column> columns_;
  std::vector<std::vector<Cell>> rows_;
};

}  // namespace halvarin::host
