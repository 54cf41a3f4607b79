#include "base/SharedBytes.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace halvarin::test {
namespace {

TEST(SharedBytes, IsEmptyWithoutBytes) {
  EXPECT_EQ(SharedBytes().size(), 0U);
  EXPECT_EQ(SharedBytes().view(), "");
  EXPECT_EQ(SharedBytes(std::string_view()).view(), "");
  EXPECT_EQ(SharedBytes("").view(), "");
}

TEST(SharedBytes, HoldsRunsOfEveryLengthAroundTheSingleAllocation) {
  for (std::size_t length = 0; length <= 70; ++length) {
    SCOPED_TRACE(length);
    std::string source;
    for (std::size_t i = 0; i < length; ++i) {
      source.push_back(static_cast<char>(i * 37 + length));
    }
    const SharedBytes bytes(source);
    EXPECT_EQ(bytes.size(), length);
    EXPECT_EQ(bytes.view(), source);
  }
}

TEST(SharedBytes, HoldsZeroBytes) {
  constexpr std::string_view kBytes("\0a\0", 3);
  EXPECT_EQ(SharedBytes(kBytes).view(), kBytes);
}

TEST(SharedBytes, KeepsItsBytesWhenTheirSourceChanges) {
  for (const std::size_t length : {std::size_t{5}, std::size_t{50}}) {
    SCOPED_TRACE(length);
    std::string source(length, 'a');
    const SharedBytes bytes(source);
    source.assign(length, 'b');
    EXPECT_EQ(bytes.view(), std::string(length, 'a'));
  }
}

TEST(SharedBytes, ACopyOutlivesTheOriginal) {
  for (const std::size_t length : {std::size_t{5}, std::size_t{24}, std::size_t{50}}) {
    SCOPED_TRACE(length);
    SharedBytes copy;
    {
      const SharedBytes original(std::string(length, 'x'));
      copy = original;
    }
    EXPECT_EQ(copy.view(), std::string(length, 'x'));
  }
}

TEST(SharedBytes, ManyBytesAreSharedByTheirCopies) {
  for (const std::size_t length : {std::size_t{24}, std::size_t{50}}) {
    const SharedBytes original(std::string(length, 'x'));
    const SharedBytes copy = original;
    EXPECT_EQ(copy.view().data(), original.view().data()) << length;
  }
}

TEST(SharedBytes, FewBytesLieInTheObjectItself) {
  const SharedBytes original(std::string(23, 'x'));
  const SharedBytes copy = original;
  EXPECT_NE(copy.view().data(), original.view().data());
  EXPECT_EQ(copy.view(), original.view());
}

TEST(SharedBytes, ThreadsMayCopyOneRunAtOnce) {
  const SharedBytes shared("shared by several threads");
  std::vector<int> right(4);
  std::vector<std::thread> threads;
  for (int& count : right) {
    threads.emplace_back([&shared, &count] {
      for (int i = 0; i < 500; ++i) {
        const SharedBytes copy = shared;
        count += copy.view() == "shared by several threads" ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(right, std::vector<int>(4, 500));
}

}  // namespace
}  // namespace halvarin::test
