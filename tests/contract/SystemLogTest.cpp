#include "platform/SystemLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace halvarin::test {
namespace {

using Lines = std::vector<std::string>;

class SystemLogTest : public testing::Test {
 protected:
  ~SystemLogTest() override { platform::setSystemLogSink(nullptr); }
};

platform::SystemLogSink into(Lines& lines) {
  return [&lines](std::string_view line) { lines.emplace_back(line); };
}

TEST_F(SystemLogTest, SendsEachLineToTheSinkAsItIs) {
  Lines lines;
  platform::setSystemLogSink(into(lines));
  platform::systemLog("first");
  platform::systemLog("");
  platform::systemLog("100% of %s and %n");
  platform::systemLog(std::string_view("whole line and more").substr(0, 10));
  platform::systemLog("caf\xC3\xA9");
  EXPECT_EQ(lines, (Lines{"first", "", "100% of %s and %n", "whole line", "caf\xC3\xA9"}));
}

TEST_F(SystemLogTest, SendsLaterLinesToTheSinkThatReplacedTheFirst) {
  Lines first;
  Lines second;
  platform::setSystemLogSink(into(first));
  platform::systemLog("one");
  platform::setSystemLogSink(into(second));
  platform::systemLog("two");
  EXPECT_EQ(first, Lines{"one"});
  EXPECT_EQ(second, Lines{"two"});
}

TEST_F(SystemLogTest, AnEmptySinkRestoresTheSystemsOwn) {
  Lines lines;
  platform::setSystemLogSink(into(lines));
  platform::setSystemLogSink(platform::SystemLogSink());
  testing::internal::CaptureStderr();
  platform::systemLog("to standard error, 100% of %s");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "to standard error, 100% of %s\n");
  EXPECT_EQ(lines, Lines{});
}

TEST_F(SystemLogTest, LetsGoOfWhatAReplacedSinkHeld) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = held;
  platform::setSystemLogSink([held = std::move(held)](std::string_view) {});
  EXPECT_FALSE(watch.expired());
  platform::setSystemLogSink(nullptr);
  EXPECT_TRUE(watch.expired());
}

TEST_F(SystemLogTest, TheSinkGetsTheLinesOfSeveralThreadsOneAtATime) {
  constexpr int kThreads = 4;
  constexpr int kEach = 200;
  std::atomic<int> inside{0};
  std::atomic<int> overlaps{0};
  Lines lines;
  platform::setSystemLogSink([&](std::string_view line) {
    overlaps += ++inside == 1 ? 0 : 1;
    lines.emplace_back(line);
    --inside;
  });
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread] {
      for (int i = 0; i < kEach; ++i) {
        platform::systemLog("thread " + std::to_string(thread) + " line " + std::to_string(i));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  platform::setSystemLogSink(nullptr);
  EXPECT_EQ(overlaps, 0);
  ASSERT_EQ(lines.size(), std::size_t{kThreads * kEach});
  for (int thread = 0; thread < kThreads; ++thread) {
    // The lines of one thread keep their order among those of the others.
    int next = 0;
    for (const std::string& line : lines) {
      next += line == "thread " + std::to_string(thread) + " line " + std::to_string(next) ? 1 : 0;
    }
    EXPECT_EQ(next, kEach) << "thread " << thread;
  }
}

TEST_F(SystemLogTest, NoLineIsLostOrDoubledWhileTheSinkIsReplaced) {
  constexpr int kLines = 2000;
  std::atomic<int> received{0};
  const auto counting = [&](std::string_view) { ++received; };
  platform::setSystemLogSink(counting);
  std::thread logger([] {
    for (int i = 0; i < kLines; ++i) {
      platform::systemLog("line");
    }
  });
  for (int i = 0; i < 200; ++i) {
    platform::setSystemLogSink(counting);
  }
  logger.join();
  EXPECT_EQ(received, kLines);
}

}  // namespace
}  // namespace halvarin::test
