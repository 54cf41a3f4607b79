#include "sensors/LoadGenerator.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace halvarin::test {
namespace {

std::vector<std::function<void()>> dispatched(std::uint32_t logicalProcessors) {
  std::vector<std::function<void()>> items;
  dispatchLoad(logicalProcessors,
               [&](std::function<void()> item) { items.push_back(std::move(item)); });
  return items;
}

TEST(LoadGenerator, Of8LogicalProcessors7GetAnItem) {
  EXPECT_EQ(dispatched(8).size(), 7U);
}

TEST(LoadGenerator, OneLogicalProcessorGetsNoItem) {
  EXPECT_EQ(dispatched(1).size(), 0U);
}

TEST(LoadGenerator, EveryCountFrom2OnGetsOneItemLess) {
  for (const std::uint32_t count : {2U, 3U, 4U, 64U, 1000U}) {
    EXPECT_EQ(dispatched(count).size(), count - 1);
  }
}

TEST(LoadGenerator, DeliberateCountOf0WrapsTo4294967295Items) {
  EXPECT_EQ(loadItems(0), 4294967295U);
}

TEST(LoadGenerator, DeliberateItemsAreEmptyAndReturnAtOnce) {
  for (const auto& item : dispatched(4)) {
    ASSERT_TRUE(item);
    item();
  }
}

TEST(LoadGenerator, QueueHasItsLabel) {
  EXPECT_EQ(kLoadQueueLabel, "com.quorvane.cpustress");
}

}  // namespace
}  // namespace halvarin::test
