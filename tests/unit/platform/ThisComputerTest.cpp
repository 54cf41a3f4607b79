#include "platform/machine/ThisComputer.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

TEST(ThisComputer, KnowsItsProcessorsAndHasNoServiceOfAnotherName) {
  const auto computer = platform::thisComputer();
  ASSERT_NE(computer, nullptr);
  EXPECT_GT(computer->setting("hw.logicalcpu").intValue(), 0);
  EXPECT_FALSE(computer->hasService("SomethingElse"));
}

}  // namespace
}  // namespace halvarin::test
