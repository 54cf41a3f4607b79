#include "database/CipherMessages.h"

#include <gtest/gtest.h>

namespace halvarin::test {

namespace {

using platform::CipherFailure;
using Step = platform::CipherFailure::Step;

TEST(CipherMessages, DeliberateDoubledBlankOnlyWhereAnEncipheringsInputIsSet) {
  EXPECT_EQ(encipherFailureLine({Step::create, "why"}), "QXEDManager::enData: error: why");
  EXPECT_EQ(encipherFailureLine({Step::setInput, "why"}), "QXEDManager::enData:  error: why");
  EXPECT_EQ(encipherFailureLine({Step::execute, "why"}), "QXEDManager::enData: error: why");
  EXPECT_EQ(decipherFailureLine({Step::create, "why"}), "QXEDManager::deData: error: why");
  EXPECT_EQ(decipherFailureLine({Step::setInput, "why"}), "QXEDManager::deData: error: why");
  EXPECT_EQ(decipherFailureLine({Step::execute, "why"}), "QXEDManager::deData: error: why");
}

TEST(CipherMessages, EndWithTheDescriptionAsItIs) {
  EXPECT_EQ(encipherFailureLine({Step::execute, ""}), "QXEDManager::enData: error: ");
  EXPECT_EQ(decipherFailureLine({Step::execute, "50 % of %@"}),
            "QXEDManager::deData: error: 50 % of %@");
}

}  // namespace

}  // namespace halvarin::test
