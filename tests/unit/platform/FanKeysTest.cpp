#include "platform/machine/fans/FanKeys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "platform/machine/BuiltInMachine.h"
#include "tests/unit/platform/FanBench.h"

namespace halvarin::test {

namespace {

using platform::fourBytes;
using platform::heldSpeed;
using platform::holdsSpeed;
using platform::RecordedKey;
using platform::simulatedFans;
using platform::speedBytes;

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(FanKeys, CountFromDigitsOnToLetters) {
  EXPECT_EQ(platform::fanKey(0, "Ac"), fourBytes("F0Ac"));
  EXPECT_EQ(platform::fanKey(9, "Tg"), fourBytes("F9Tg"));
  EXPECT_EQ(platform::fanKey(10, "Md"), fourBytes("FAMd"));
  EXPECT_EQ(platform::fanKey(35, "md"), fourBytes("FZmd"));
}

TEST(FanKeys, HoldSpeedsInThreeTypes) {
  EXPECT_TRUE(holdsSpeed(key("F0Ac", "fpe2", {0, 0})));
  EXPECT_TRUE(holdsSpeed(key("F0Ac", "flt ", {0, 0, 0, 0})));
  EXPECT_TRUE(holdsSpeed(key("F0Ac", "ui16", {0, 0})));
  EXPECT_FALSE(holdsSpeed(key("F0Ac", "fpe2", {0, 0, 0, 0})));
  EXPECT_FALSE(holdsSpeed(key("F0Ac", "flt ", {0, 0})));
  EXPECT_FALSE(holdsSpeed(key("F0Ac", "ui16", {0})));
  EXPECT_FALSE(holdsSpeed(key("F0Ac", "ui32", {0, 0, 0, 0})));
  EXPECT_FALSE(holdsSpeed(key("F0Ac", "hex_", {0, 0})));
}

TEST(FanKeys, HoldTheSpeedOfTheirType) {
  EXPECT_EQ(heldSpeed(key("F0Ac", "fpe2", {0x1F, 0x41})), 2000.25);
  EXPECT_EQ(heldSpeed(key("F0Ac", "flt ", {0x00, 0x00, 0xFA, 0x44})), 2000);
  EXPECT_EQ(heldSpeed(key("F0Ac", "ui16", {0x1F, 0x41})), 2000.25);
}

TEST(FanKeys, HoldNoSpeedWithoutBytesOrWithAFloatThatIsNoNumber) {
  RecordedKey unreadable = key("F0Ac", "fpe2", {0, 0});
  unreadable.bytes.clear();
  EXPECT_EQ(heldSpeed(unreadable), std::nullopt);
  EXPECT_EQ(heldSpeed(key("F0Ac", "flt ", {0x00, 0x00, 0xC0, 0x7F})), std::nullopt);
  EXPECT_EQ(heldSpeed(key("F0Ac", "flt ", {0x00, 0x00, 0x80, 0x7F})), std::nullopt);
  EXPECT_EQ(heldSpeed(key("F0Ac", "hex_", {0x1F, 0x40})), std::nullopt);
}

TEST(FanKeys, AreGivenTheBytesOfTheirType) {
  EXPECT_EQ(speedBytes(key("F0Ac", "fpe2", {0, 0}), 2000.25), (Bytes{0x1F, 0x41}));
  EXPECT_EQ(speedBytes(key("F0Ac", "flt ", {0, 0, 0, 0}), 2000), (Bytes{0x00, 0x00, 0xFA, 0x44}));
  EXPECT_EQ(speedBytes(key("F0Ac", "ui16", {0, 0}), 2000.25), (Bytes{0x1F, 0x41}));
  EXPECT_EQ(speedBytes(key("F0Ac", "fpe2", {0, 0}), 1e9), (Bytes{0xFF, 0xFF}));
}

TEST(FanKeys, ShowAReaderOfEitherByteOrderTheNearestIntegerSpeed) {
  // 6144 quarters are 1800, which a reader would take for 0018.
  const Bytes bytes = speedBytes(key("F0Ac", "ui16", {0, 0}), 1536);
  EXPECT_EQ(readSpeed("ui16", bytes), 1535.75);
}

TEST(FanKeys, NameTheFansOfAMachine) {
  EXPECT_THAT(simulatedFans({key("FAAc", "fpe2", {0, 0}), key("F3Ac", "flt ", {0, 0, 0, 0}),
                             key("F0Ac", "ui16", {0, 0}), key("F1Ac", "hex_", {0, 0}),
                             key("F2Mn", "fpe2", {0, 0}), key("FaAc", "fpe2", {0, 0}),
                             key("T4Ac", "fpe2", {0, 0}), key("F5ac", "fpe2", {0, 0})}),
              ElementsAre(0, 3, 10));
  EXPECT_THAT(simulatedFans({}), IsEmpty());
  EXPECT_THAT(simulatedFans(platform::builtInLaptop().keys), ElementsAre(0, 1));
}

}  // namespace

}  // namespace halvarin::test
