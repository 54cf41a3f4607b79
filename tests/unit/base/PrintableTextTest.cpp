#include "base/PrintableText.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

TEST(PrintableText, CommandsToATerminalAreShownAsQuestionMarks) {
  EXPECT_EQ(printable("plain text"), "plain text");
  EXPECT_EQ(printable("a\033[2Jb\nc\x7F"), "a?[2Jb?c?");
  EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a?b");
  EXPECT_EQ(printable("a\xC2\x9B"
                      "2Jb\xC2\xA0"),
            "a?2Jb\xC2\xA0");
}

TEST(PrintableText, TextBeyondAsciiIsKeptAndBytesThatAreNoTextAreNot) {
  EXPECT_EQ(printable("\xC3\xA9"), "\xC3\xA9");
  EXPECT_EQ(printable("\xFF\xFE"), "??");
}

TEST(PrintableText, CharactersThatTurnTextAroundAreNotPassedOn) {
  EXPECT_EQ(printable("fan \u202Ecba\u2066d"), "fan ?cba?d");
  EXPECT_EQ(printable("45.00 \u00B0C \u2014 \u20AC"), "45.00 \u00B0C \u2014 \u20AC");
}

}  // namespace
}  // namespace halvarin::test
