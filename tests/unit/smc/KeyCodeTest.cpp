#include "smc/KeyCode.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

TEST(KeyCode, RecordIntegerHasTheFirstCharacterLowest) {
  EXPECT_EQ(recordInteger("FNum"), 0x6D754E46U);
}

TEST(KeyCode, WireIntegerHasTheFirstCharacterHighest) {
  EXPECT_EQ(swappedCode(recordInteger("FNum")), 0x464E756DU);
  EXPECT_EQ(swappedCode(swappedCode(0x01020304U)), 0x01020304U);
}

TEST(KeyCode, TrailingBlankIsPartOfTheCode) {
  EXPECT_EQ(recordInteger("FS! "), 0x20215346U);
  EXPECT_EQ(codeText(0x20215346U), "FS! ");
}

TEST(KeyCode, TakesOnlyTheFirstFourBytes) {
  EXPECT_EQ(recordInteger("FNumber"), recordInteger("FNum"));
  EXPECT_EQ(recordInteger("AB"), 0x00004241U);
  EXPECT_EQ(recordInteger(""), 0U);
}

TEST(KeyCode, TextIsCutAtAZeroByte) {
  EXPECT_EQ(codeText(recordInteger("ui8")), "ui8");
  EXPECT_EQ(codeText(0x43004241U), "AB");
  EXPECT_EQ(codeText(0), "");
}

TEST(KeyCode, BytesThatAreNotUtf8HaveNoText) {
  EXPECT_FALSE(codeText(0x414141FFU).has_value());
  EXPECT_EQ(codeText(recordInteger("a\xC3\xA9z")), "a\xC3\xA9z");
}

}  // namespace
}  // namespace halvarin::test
