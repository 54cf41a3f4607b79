#pragma once

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

// Reading the reviewable tables: tab-separated text with one header line.

namespace halvarin::packer {

/// A row that is wrong: "FILE:LINE: REASON".
class TableError : public std::runtime_error {
 public:
  TableError(const std::filesystem::path& file, std::size_t line, const std::string& reason);
};

/// A row and where it stands.
struct TableRow {
  std::filesystem::path file;
  std::size_t line = 0;
  std::vector<std::string> fields;  // as many as the header has; none is empty, "-" means none

  [[noreturn]] void fail(const std::string& reason) const { throw TableError(file, line, reason); }
};

/// The rows of a table with exactly these columns. Throws TableError.
[[nodiscard]] std::vector<TableRow> readTable(const std::filesystem::path& file,
                                              const std::vector<std::string>& columns);

/// The words of a text file without its "# " lines, a row each. Throws TableError.
[[nodiscard]] std::vector<TableRow> readWords(const std::filesystem::path& file);

}  // namespace halvarin::packer
