#include "host/fans/FanView.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/Machines.h"
#include "tests/support/TestDatabase.h"

namespace halvarin::test {
namespace {

using host::ForcedBy;

host::FansView viewOf(std::vector<platform::RecordedKey> keys) {
  keys.push_back(key("TC0P", "sp78", {0x3A, 0x40}));
  embedDatabase(databaseOf("Test1,1", {{"TC0P", "CPU proximity"}}));
  install(machineWith(std::move(keys)));
  return host::readFansView(*QXHalvarin::sharedHalvarin());
}

platform::RecordedKey identification(std::string_view name) {
  Bytes bytes{0, 1, 12, 0};
  bytes.insert(bytes.end(), name.begin(), name.end());
  bytes.resize(16);
  return key("F0ID", "{fds", bytes);
}

TEST(FanView, ShowsWhatTheKeysSay) {
  const auto view = viewOf({key("F0Ac", "fpe2", {0x1F, 0x42}), identification("Left side  "),
                            key("F0Md", "ui8 ", {0}), key("F0Mn", "fpe2", {0x12, 0xC0}),
                            key("F0Mx", "fpe2", {0x5D, 0xC0}), key("F0Tg", "fpe2", {0x1F, 0x40}),
                            key("FNum", "ui8 ", {1})});
  ASSERT_EQ(view.fans.size(), 1U);
  EXPECT_EQ(view.fans[0].location, "Left side");
  EXPECT_EQ(view.fans[0].speedRpm, 2000.5);
  EXPECT_EQ(view.fans[0].targetRpm, 2000);
  EXPECT_EQ(view.fans[0].minimumRpm, 1200);
  EXPECT_EQ(view.fans[0].maximumRpm, 6000);
  EXPECT_EQ(view.fans[0].targetType, "fpe2");
  EXPECT_EQ(view.fans[0].control, "automatic");
  EXPECT_EQ(host::fanName(view.fans[0]), "Fan 0 (Left side)");
  EXPECT_EQ(view.hottest, "58.25 °C");
  std::ostringstream text;
  host::fansTable(view).print(text, false);
  EXPECT_EQ(text.str(),
            "  Fan  Location      Speed  Target  Minimum  Maximum  Control\n"
            "    0  Left side  2000 RPM    2000     1200     6000  automatic\n");
}

TEST(FanView, AForceBitIsShownWhereThereIsNoModeKey) {
  const auto view = viewOf({key("F0Ac", "fpe2", {0, 0}), key("F1Ac", "fpe2", {0, 0}),
                            key("FNum", "ui8 ", {2}), key("FS! ", "ui16", {0, 2})});
  EXPECT_EQ(view.fans[0].forcedBy, ForcedBy::forceBits);
  EXPECT_FALSE(view.fans[0].isForced);
  EXPECT_TRUE(view.fans[1].isForced);
  EXPECT_EQ(view.fans[1].control, "forced");
}

TEST(FanView, TheModeKeyCountsWhereThereIsOne) {
  const auto view =
      viewOf({key("F0Ac", "fpe2", {0, 0}), key("F0md", "ui8 ", {1}), key("F1Ac", "fpe2", {0, 0}),
              key("F1Md", "ui8 ", {0}), key("FNum", "ui8 ", {2}), key("FS! ", "ui16", {0, 2})});
  EXPECT_EQ(view.fans[0].forcedBy, ForcedBy::modeKey);
  EXPECT_TRUE(view.fans[0].isForced);
  EXPECT_FALSE(view.fans[1].isForced);
}

TEST(FanView, AModeOfTheMachinesOwnIsNotForced) {
  const auto view =
      viewOf({key("F0Ac", "fpe2", {0, 0}), key("F0Md", "ui8 ", {3}), key("FNum", "ui8 ", {1})});
  EXPECT_FALSE(view.fans[0].isForced);
  EXPECT_EQ(view.fans[0].control, "mode 3");
}

TEST(FanView, AFanWithoutKeysToForceItSaysSo) {
  const auto view = viewOf({key("F0Ac", "fpe2", {0, 0}), key("FNum", "ui8 ", {1})});
  EXPECT_EQ(view.fans[0].forcedBy, ForcedBy::nothing);
  EXPECT_EQ(view.fans[0].targetType, "");
  EXPECT_EQ(host::fanName(view.fans[0]), "Fan 0");
}

TEST(FanView, AReadingThatFailedIsNotTheHottest) {
  embedDatabase(databaseOf("Test1,1", {{"TC0P", "CPU proximity"}, {"TC1P", "CPU proximity 2"}}));
  platform::RecordedKey failed = key("TC1P", "sp78", {0x3A, 0x40});
  failed.status = static_cast<std::int32_t>(0xE00002C2);
  install(machineWith({key("FNum", "ui8 ", {0}), key("TC0P", "sp78", {0x20, 0}), failed}));
  EXPECT_EQ(host::readFansView(*QXHalvarin::sharedHalvarin()).hottest, "32.00 °C");
}

TEST(FanView, AMachineWithoutKnownTemperaturesHasNoHottest) {
  embedDatabase(databaseOf("Test1,1", {}));
  install(machineWith({key("FNum", "ui8 ", {0}), key("TC0P", "sp78", {0x20, 0})}));
  EXPECT_EQ(host::readFansView(*QXHalvarin::sharedHalvarin()).hottest, "none");
}

TEST(FanView, ARangeThatCannotBeReadKeepsItsStatus) {
  platform::RecordedKey most = key("F0Mx", "fpe2", {0x5D, 0xC0});
  most.status = static_cast<std::int32_t>(0xE00002C1);
  const auto view = viewOf({key("F0Ac", "fpe2", {0, 0}), most, key("FNum", "ui8 ", {1})});
  EXPECT_EQ(view.fans[0].rangeStatus, static_cast<std::int32_t>(0xE00002C1));
}

TEST(FanView, AControlThatCannotBeReadIsNotAutomatic) {
  platform::RecordedKey mode = key("F0Md", "ui8 ", {0});
  mode.status = static_cast<std::int32_t>(0xE00002C2);
  const auto view = viewOf({key("F0Ac", "fpe2", {0, 0}), mode, key("FNum", "ui8 ", {1})});
  EXPECT_EQ(view.fans[0].control, "not read");
  EXPECT_FALSE(view.fans[0].isForced);
}

TEST(FanView, CommandsToTheTerminalInALocationAreNotPassedOn) {
  const auto view =
      viewOf({key("F0Ac", "fpe2", {0, 0}), identification("\033[2J"), key("FNum", "ui8 ", {1})});
  EXPECT_EQ(view.fans[0].location, "?[2J");
}

TEST(FanView, NoFansIsToldFromACountThatCannotBeRead) {
  EXPECT_TRUE(viewOf({key("FNum", "ui8 ", {0})}).fans.empty());
  EXPECT_EQ(host::fanCountStatus(), std::nullopt);
}

TEST(FanView, StatusOfACountThatCannotBeReadIsKept) {
  platform::RecordedKey count = key("FNum", "ui8 ", {1});
  count.status = static_cast<std::int32_t>(0xE00002C1);
  EXPECT_TRUE(viewOf({count}).fans.empty());
  EXPECT_EQ(host::fanCountStatus(), static_cast<std::int32_t>(0xE00002C1));
}

}  // namespace
}  // namespace halvarin::test
