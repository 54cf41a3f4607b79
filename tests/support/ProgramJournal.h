#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "base/FileBytes.h"

namespace halvarin::test {

inline std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// The writes in the journal of a program, as "F0Tg 5DC0".
inline std::vector<std::string> writesIn(const std::string& journal) {
  std::vector<std::string> writes;
  for (const std::string& line : linesOf(fileBytes(journal).value_or(""))) {
    const std::size_t key = line.find(" write ");
    const std::size_t bytes = line.find(" bytes ");
    if (key != std::string::npos && bytes != std::string::npos) {
      writes.push_back(line.substr(key + 7, 4) +
                       line.substr(bytes + 6, line.find(" -> ") - bytes - 6));
    }
  }
  return writes;
}

}  // namespace halvarin::test
