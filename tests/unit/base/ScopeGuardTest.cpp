#include "base/ScopeGuard.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace halvarin::test {
namespace {

TEST(ScopeGuard, RunsItsActionOnceAndOnlyWhenTheScopeIsLeft) {
  int runs = 0;
  {
    const ScopeGuard guard([&] { ++runs; });
    EXPECT_EQ(runs, 0);
  }
  EXPECT_EQ(runs, 1);
}

int leaveEarly(int& runs) {
  const ScopeGuard guard([&] { ++runs; });
  return runs;
}

TEST(ScopeGuard, RunsItsActionAfterTheResultOfAReturnIsMade) {
  int runs = 0;
  EXPECT_EQ(leaveEarly(runs), 0);
  EXPECT_EQ(runs, 1);
}

void leaveByException(int& runs) {
  const ScopeGuard guard([&] { ++runs; });
  throw std::runtime_error("out");
}

TEST(ScopeGuard, RunsItsActionWhenAnExceptionLeavesTheScope) {
  int runs = 0;
  EXPECT_THROW(leaveByException(runs), std::runtime_error);
  EXPECT_EQ(runs, 1);
}

TEST(ScopeGuard, SeveralRunInTheReverseOrderOfTheirMaking) {
  std::string order;
  {
    const ScopeGuard first([&] { order += "first"; });
    const ScopeGuard second([&] { order += "second "; });
  }
  EXPECT_EQ(order, "second first");
}

TEST(ScopeGuard, TakesAnActionThatCanOnlyBeMoved) {
  int seen = 0;
  {
    const ScopeGuard guard([held = std::make_unique<int>(7), &seen] { seen = *held; });
    EXPECT_EQ(seen, 0);
  }
  EXPECT_EQ(seen, 7);
}

}  // namespace
}  // namespace halvarin::test
