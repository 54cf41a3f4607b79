#include "base/HalvarinVersion.h"

#include <gtest/gtest.h>

#include <string_view>

namespace halvarin::test {
namespace {

TEST(HalvarinVersion, NumberIsOne) {
  EXPECT_EQ(HalvarinVersionNumber, 1.0);
}

TEST(HalvarinVersion, StringNamesProgramAndProjectAndEndsWithLineFeedAndZero) {
  constexpr std::string_view kExpected("@(#)PROGRAM:Halvarin  PROJECT:Brimvale-1\n\0", 42);
  const std::string_view actual(reinterpret_cast<const char*>(HalvarinVersionString),
                                sizeof HalvarinVersionString);
  EXPECT_EQ(actual, kExpected);
}

}  // namespace
}  // namespace halvarin::test
