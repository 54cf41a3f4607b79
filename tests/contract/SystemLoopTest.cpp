#include "platform/posix/SystemLoop.h"

#include <gtest/gtest.h>

#include "platform/MainThread.h"

namespace halvarin::test {
namespace {

int calls = 0;

void count(void* /*context*/) {
  ++calls;
}

// tests/darwin/SystemLoopTest.cpp holds what a loop of the system's own does.
TEST(SystemLoop, WithoutOneNothingIsCalled) {
  platform::callFromSystemLoop(&count);
  EXPECT_EQ(calls, 0);
}

TEST(SystemLoop, WithoutOneWorkWaitsForTheHost) {
  platform::MainThread::perform([] { ++calls; });
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(platform::MainThread::performPending(), 1U);
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace halvarin::test
