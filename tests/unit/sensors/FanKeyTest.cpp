#include "sensors/FanKey.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace halvarin::test {
namespace {

TEST(FanKey, DigitOf9Is9Of10IsAOf15IsFAndOf16IsG) {
  const std::vector<std::pair<std::uint32_t, const char*>> rows{
      {0, "0"}, {1, "1"}, {9, "9"}, {10, "A"}, {11, "B"}, {15, "F"}, {16, "G"}, {35, "Z"}};
  for (const auto& [index, text] : rows) {
    EXPECT_EQ(fan::digit(index), text);
  }
}

TEST(FanKey, DeliberateThereIsNoLastFan) {
  EXPECT_EQ(fan::digit(36), "[");
  EXPECT_EQ(fan::digit(72), "\x7F");
  EXPECT_EQ(fan::digit(10 + 256), "A");
}

TEST(FanKey, CodesAbove127AreTakenAsLatin1) {
  EXPECT_EQ(fan::digit(73), "\xC2\x80");
  EXPECT_EQ(fan::digit(178), "\xC3\xA9");  // e with an acute accent
  EXPECT_EQ(fan::digit(200), "\xC3\xBF");
}

TEST(FanKey, KeyIsAnFTheDigitAndTheSuffix) {
  EXPECT_EQ(fan::key(0, fan::kActualSuffix), "F0Ac");
  EXPECT_EQ(fan::key(10, fan::kMaximumSuffix), "FAMx");
  EXPECT_EQ(fan::key(1, fan::kLowerModeSuffix), "F1md");
  EXPECT_EQ(fan::key(3, ""), "F3");
}

TEST(FanKey, NamesOfMachineWideKeysHaveFourCharacters) {
  for (const std::string_view name : {fan::kCountKey, fan::kForceBitsKey, fan::kTestFlagKey}) {
    EXPECT_EQ(name.size(), 4U) << name;
  }
  EXPECT_EQ(fan::kForceBitsKey.back(), ' ');
}

}  // namespace
}  // namespace halvarin::test
