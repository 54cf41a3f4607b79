#include <gtest/gtest.h>

#include "platform/OwnImage.h"

namespace halvarin::test {
namespace {

TEST(OwnImageOfMacOS, GivesTheBytesOfASectionOfItsOwn) {
  EXPECT_EQ(platform::ownImageSection("__TEXT", "__own_section").view(), "of this image");
}

TEST(OwnImageOfMacOS, LooksInTheNamedSegmentAlone) {
  EXPECT_TRUE(platform::ownImageSection("__DATA", "__own_section").empty());
}

}  // namespace
}  // namespace halvarin::test
