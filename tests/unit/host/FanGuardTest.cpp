#include "host/fans/FanGuard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

using host::GuardedFans;
using testing::ElementsAre;
using testing::IsEmpty;

GuardedFans after(std::initializer_list<const char*> lines) {
  GuardedFans guarded;
  for (const char* line : lines) {
    guarded.take(line);
  }
  return guarded;
}

TEST(FanGuard, KeepsTheFansAndTheFlagThatItWasTold) {
  const GuardedFans guarded = after({"flag", "fan 1", "fan 0"});
  EXPECT_TRUE(guarded.testFlag);
  EXPECT_THAT(guarded.fans, ElementsAre(1, 0));
}

TEST(FanGuard, KeepsAFanOnce) {
  EXPECT_THAT(after({"fan 3", "fan 3"}).fans, ElementsAre(3));
}

TEST(FanGuard, ForgetsWhatWasHandedBack) {
  const GuardedFans guarded = after({"flag", "fan 0", "forget"});
  EXPECT_FALSE(guarded.testFlag);
  EXPECT_THAT(guarded.fans, IsEmpty());
  EXPECT_THAT(after({"fan 0", "forget", "fan 1"}).fans, ElementsAre(1));
}

TEST(FanGuard, LinesThatSayNothingChangeNothing) {
  const GuardedFans guarded = after({"", "fan", "fan ", "fan x", "fan -1", "flags", "Fan 0"});
  EXPECT_FALSE(guarded.testFlag);
  EXPECT_THAT(guarded.fans, IsEmpty());
}

}  // namespace
}  // namespace halvarin::test
