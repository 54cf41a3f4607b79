#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "base/FileBytes.h"
#include "tests/generated/TestPaths.h"

// Tables of a document that a test makes: what stands there is what the test finds.

namespace halvarin::test {

/// Compares the part of docs/FILE between "<!-- NAME: begin -->" and "<!-- NAME: end -->" with
/// `tables`; with HALVARIN_UPDATE_GOLDEN set, writes them there and fails, so that they are read.
inline void expectInDocument(const std::string& file, const std::string& name,
                             const std::string& tables) {
  const std::string path = std::string(HALVARIN_SOURCE_DIR) + "/docs/" + file;
  std::string document = fileBytes(path).value_or("");
  const std::string first = "<!-- " + name + ": begin -->\n";
  const std::size_t mark = document.find(first);
  const std::size_t end = document.find("<!-- " + name + ": end -->\n");
  ASSERT_TRUE(mark != std::string::npos && end != std::string::npos && end >= mark + first.size())
      << path << " has no place for the tables of " << name;
  const std::size_t begin = mark + first.size();
  if (std::getenv("HALVARIN_UPDATE_GOLDEN") != nullptr) {
    document.replace(begin, end - begin, tables);
    std::ofstream(path, std::ios::binary) << document;
    FAIL() << path << " was written anew: read it, then run again without HALVARIN_UPDATE_GOLDEN";
  }
  EXPECT_EQ(tables, document.substr(begin, end - begin)) << "differs from " << path;
}

}  // namespace halvarin::test
