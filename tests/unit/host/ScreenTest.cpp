#include "host/Screen.h"

#include <gtest/gtest.h>

namespace halvarin::test {
namespace {

using host::drawnOver;

TEST(Screen, FirstFrameIsDrawnWhereTheCursorStands) {
  const auto drawn = drawnOver("one\ntwo\n", 0, 24);
  EXPECT_EQ(drawn.lines, 2U);
  EXPECT_EQ(drawn.text, "\r\033[?7lone\033[K\ntwo\033[K\n\033[?7h\033[J");
}

TEST(Screen, NextFrameIsDrawnOverTheOneBefore) {
  const auto drawn = drawnOver("one\n", 2, 24);
  EXPECT_EQ(drawn.lines, 1U);
  EXPECT_EQ(drawn.text, "\033[2A\r\033[?7lone\033[K\n\033[?7h\033[J");
}

TEST(Screen, FrameTallerThanTheTerminalSaysWhatIsMissing) {
  const auto drawn = drawnOver("1\n2\n3\n4\n5\n", 0, 4);
  EXPECT_EQ(drawn.lines, 3U);
  EXPECT_EQ(drawn.text, "\r\033[?7l1\033[K\n2\033[K\n... and 3 more lines\033[K\n\033[?7h\033[J");
}

TEST(Screen, FrameThatJustFitsIsWhole) {
  EXPECT_EQ(drawnOver("1\n2\n3\n", 0, 4).lines, 3U);
  EXPECT_EQ(drawnOver("1\n2\n3\n", 0, 4).text.find("more"), std::string::npos);
}

TEST(Screen, ATerminalOfOneRowStillGetsALine) {
  EXPECT_EQ(drawnOver("1\n2\n", 0, 1).lines, 1U);
}

}  // namespace
}  // namespace halvarin::test
