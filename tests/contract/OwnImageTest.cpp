#include "platform/OwnImage.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

// This program embeds no section of that name.
TEST(OwnImage, ASectionThatTheImageLacksIsEmpty) {
  EXPECT_TRUE(platform::ownImageSection("__TEXT", "__sensors_plist").empty());
  EXPECT_TRUE(platform::ownImageSection("", "__sensors_plist").empty());
}

TEST(OwnImage, AnUnknownSectionIsEmpty) {
  for (const char* section : {"", "__no_such_section", "__sensors_plist2", "sensors_plist",
                              "__SENSORS_PLIST", ".text", ".rodata"}) {
    SCOPED_TRACE(section);
    EXPECT_TRUE(platform::ownImageSection("__TEXT", section).empty());
  }
}

}  // namespace
}  // namespace halvarin::test
