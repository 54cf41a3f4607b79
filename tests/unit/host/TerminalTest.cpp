#include "host/Terminal.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

TEST(Terminal, CommandsToATerminalAreShownAsQuestionMarks) {
  EXPECT_EQ(host::printable("plain text"), "plain text");
  EXPECT_EQ(host::printable("a\033[2Jb\nc\x7F"), "a?[2Jb?c?");
  EXPECT_EQ(host::printable(std::string_view("a\0b", 3)), "a?b");
  EXPECT_EQ(host::printable("a\xC2\x9B"
                            "2Jb\xC2\xA0"),
            "a?2Jb\xC2\xA0");
}

TEST(Terminal, TextBeyondAsciiIsKeptAndBytesThatAreNoTextAreNot) {
  EXPECT_EQ(host::printable("\xC3\xA9"), "\xC3\xA9");
  EXPECT_EQ(host::printable("\xFF\xFE"), "??");
}

TEST(Terminal, CharactersThatTurnTextAroundAreNotPassedOn) {
  EXPECT_EQ(host::printable("fan \u202Ecba\u2066d"), "fan ?cba?d");
  EXPECT_EQ(host::printable("45.00 \u00B0C \u2014 \u20AC"), "45.00 \u00B0C \u2014 \u20AC");
}

}  // namespace
}  // namespace halvarin::test
