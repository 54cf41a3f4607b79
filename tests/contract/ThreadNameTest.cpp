#include "platform/posix/ThreadName.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <string>
#include <string_view>
#include <thread>

namespace halvarin::test {
namespace {

std::string shownFor(std::string_view name) {
  std::array<char, 16> shown{};
  std::thread([&] {
    platform::nameThisThread(name);
    EXPECT_EQ(pthread_getname_np(pthread_self(), shown.data(), shown.size()), 0);
  }).join();
  return shown.data();
}

TEST(ThreadName, IsShownByTheSystem) {
  EXPECT_EQ(shownFor("fan 1"), "fan 1");
  EXPECT_EQ(shownFor("exactly fifteen"), "exactly fifteen");
}

TEST(ThreadName, IsCutAfterFifteenBytes) {
  EXPECT_EQ(shownFor("exactly sixteen!"), "exactly sixteen");
}

TEST(ThreadName, IsNotCutInsideACharacter) {
  EXPECT_EQ(shownFor("0123456789abcd\u00fc"), "0123456789abcd");
  EXPECT_EQ(shownFor("0123456789abc\u00fcz"), "0123456789abc\u00fc");
  EXPECT_EQ(shownFor("0123456789abc\u20ac"), "0123456789abc");
}

}  // namespace
}  // namespace halvarin::test
