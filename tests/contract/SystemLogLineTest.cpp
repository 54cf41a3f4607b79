#include "platform/posix/SystemLogLine.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

TEST(SystemLogLine, StandsOnStandardErrorAsItIs) {
  testing::internal::CaptureStderr();
  platform::writeSystemLogLine("100% of %s and %n, caf\xC3\xA9");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "100% of %s and %n, caf\xC3\xA9\n");
}

}  // namespace
}  // namespace halvarin::test
