#include "base/Data.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace halvarin::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(const Data& data) {
  return {data.bytes().begin(), data.bytes().end()};
}

TEST(Data, IsEmptyWithoutBytes) {
  EXPECT_TRUE(Data().empty());
  EXPECT_EQ(Data().size(), 0U);
  EXPECT_TRUE(Data().bytes().empty());
  EXPECT_TRUE(Data(Bytes{}).empty());
  EXPECT_TRUE(Data(std::string_view()).empty());
}

TEST(Data, HoldsEveryByteValue) {
  Bytes all;
  for (int byte = 0; byte < 256; ++byte) {
    all.push_back(static_cast<std::uint8_t>(byte));
  }
  const Data data(all);
  EXPECT_EQ(data.size(), 256U);
  EXPECT_EQ(bytesOf(data), all);
}

TEST(Data, HoldsBytesAfterAZeroByte) {
  constexpr std::string_view kText("a\0b\0", 4);
  const Data data(kText);
  EXPECT_EQ(data.view(), kText);
  EXPECT_EQ(bytesOf(data), (Bytes{'a', 0, 'b', 0}));
}

TEST(Data, KeepsItsBytesWhenTheirSourceChanges) {
  Bytes source{1, 2, 3};
  const Data data(source);
  source[0] = 9;
  EXPECT_EQ(bytesOf(data), (Bytes{1, 2, 3}));
}

TEST(Data, ACopyOfManySharesTheBytes) {
  const Data data(Bytes(32, 1));
  const Data copy = data;
  EXPECT_EQ(copy.bytes().data(), data.bytes().data());
}

TEST(Data, IsEqualToDataWithTheSameBytesOnly) {
  EXPECT_EQ(Data(Bytes{1, 2}), Data(Bytes{1, 2}));
  EXPECT_EQ(Data(Bytes{'a'}), Data(std::string_view("a")));
  EXPECT_EQ(Data(), Data(Bytes{}));
  EXPECT_FALSE(Data(Bytes{1, 2}) == Data(Bytes{1, 3}));
  EXPECT_FALSE(Data(Bytes{1, 2}) == Data(Bytes{1}));
  EXPECT_FALSE(Data(Bytes{0}) == Data());
}

}  // namespace
}  // namespace halvarin::test
