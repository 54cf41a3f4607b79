#include "database/SaltTables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <set>

namespace halvarin::test {

namespace {

TEST(SaltTables, ExportTheirLengths) {
  EXPECT_EQ(kSaltBlockLength, 1063);
  EXPECT_EQ(kSBlockLength, 1063);
  EXPECT_EQ(kSaltBlockSecKeyIndicesLength, 16);
  EXPECT_EQ(kSBSKIndicesLength, 16);
}

TEST(SaltTables, HaveTheLengthsThatTheyExport) {
  EXPECT_EQ(std::ssize(kSaltBlock), kSaltBlockLength);
  EXPECT_EQ(std::ssize(kSaltBlockSecKeyIndices), kSaltBlockSecKeyIndicesLength);
  EXPECT_EQ(std::ssize(kSBSKIndices), kSBSKIndicesLength);
}

TEST(SaltTables, HoldTheSamePositionsForWriterAndReader) {
  EXPECT_TRUE(std::equal(std::begin(kSaltBlockSecKeyIndices), std::end(kSaltBlockSecKeyIndices),
                         std::begin(kSBSKIndices), std::end(kSBSKIndices)));
}

TEST(SaltTables, HoldDistinctPositionsInsideTheSaltBlock) {
  std::set<std::uint64_t> positions;
  for (const std::uint64_t position : kSBSKIndices) {
    EXPECT_LT(position, 1063U);
    positions.insert(position);
  }
  EXPECT_EQ(positions.size(), 16U);
}

// A salt or a key of one byte value repeated would be a table that was never filled in.
TEST(SaltTables, AreFilledIn) {
  const std::set<std::uint8_t> salt(std::begin(kSaltBlock), std::end(kSaltBlock));
  EXPECT_GT(salt.size(), 200U);
  const std::set<std::uint8_t> key(kLocalKeyBytes.begin(), kLocalKeyBytes.end());
  EXPECT_GT(key.size(), 8U);
}

}  // namespace

}  // namespace halvarin::test
