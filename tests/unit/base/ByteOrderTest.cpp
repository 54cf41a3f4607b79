#include "base/ByteOrder.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

TEST(ByteOrder, FirstByteBecomesTheLast) {
  EXPECT_EQ(byteSwapped(0x01020304U), 0x04030201U);
  EXPECT_EQ(byteSwapped(byteSwapped(0xDEADBEEFU)), 0xDEADBEEFU);
  EXPECT_EQ(byteSwapped(0), 0U);
}

}  // namespace
}  // namespace halvarin::test
