#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/NotificationCenter.h"
#include "platform/MainThread.h"
#include "platform/posix/HostBundle.h"
#include "tests/support/CapturedLog.h"

namespace halvarin::test {
namespace {

TEST(HostApplication, WithoutAnApplicationAnAlertIsALineOfTheSystemLogAtOnce) {
  CapturedLog log;
  platform::showAlertOfApplication({"Warning!", "OK", "Do not force this fan."});
  EXPECT_EQ(log.lines(), std::vector<std::string>{"Warning! Do not force this fan."});
  EXPECT_EQ(platform::MainThread::performPending(), 0U);
}

TEST(HostApplication, WithoutAnApplicationTheHostAlonePostsItsEnd) {
  int heard = 0;
  NotificationCenter& center = NotificationCenter::defaultCenter();
  static_cast<void>(center.addObserver(platform::kApplicationWillTerminate, nullptr,
                                       [&](const Notification&) { ++heard; }));
  platform::forwardApplicationEnd();
  platform::forwardApplicationEnd();
  EXPECT_EQ(heard, 0);
  center.post({std::string(platform::kApplicationWillTerminate), nullptr, nullptr});
  EXPECT_EQ(heard, 1);
}

}  // namespace
}  // namespace halvarin::test
