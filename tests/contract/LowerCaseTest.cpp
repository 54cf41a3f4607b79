#include "platform/posix/LowerCase.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

using platform::lowercasedUtf8;

TEST(LowerCase, GivesSmallLettersBeyondAscii) {
  EXPECT_EQ(lowercasedUtf8(""), "");
  EXPECT_EQ(lowercasedUtf8("L\u00DCFTER 1"), "l\u00FCfter 1");
  EXPECT_EQ(lowercasedUtf8("\U00010400"), "\U00010428");
}

TEST(LowerCase, LooksAtTheLettersAround) {
  EXPECT_EQ(lowercasedUtf8("\u039F\u03A3"), "\u03BF\u03C2");
  EXPECT_EQ(lowercasedUtf8("\u039F\u03A3\u039F"), "\u03BF\u03C3\u03BF");
}

}  // namespace
}  // namespace halvarin::test
