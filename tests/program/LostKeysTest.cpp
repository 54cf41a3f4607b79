// A controller that did not answer while its keys were listed: what was not listed is not taken for
// what the machine does not have.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/FanMachines.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/RootedLogs.h"
#include "tests/support/ServedMachine.h"

namespace halvarin::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Words = std::vector<std::string>;

constexpr std::uint8_t kRead = 5;
constexpr std::uint8_t kKeyByIndex = 8;
constexpr std::uint8_t kKeyInfo = 9;
constexpr auto kBusy = static_cast<platform::MachineStatus>(0xE00002D5);

class LostKeys : public testing::Test {
 protected:
  explicit LostKeys(platform::RecordedMachine machine = fanMachine(FanStyle::modeKeys))
      : machine_(std::move(machine)) {}
  ProgramRun run(const Words& command) {
    return runProgram(HALVARIN_ROOTED, machine_.words(command));
  }
  void expectRefused(const Words& command, const std::string& why) {
    const ProgramRun refused = run(command);
    EXPECT_EQ(refused.exit, 6) << testing::PrintToString(command) << refused.out << refused.err;
    EXPECT_THAT(refused.out, Not(HasSubstr("Passed")));
    EXPECT_THAT(refused.out, Not(HasSubstr("no fans")));
    EXPECT_THAT(refused.err, Not(HasSubstr("always under automatic control")));
    EXPECT_THAT(refused.err, HasSubstr(why)) << testing::PrintToString(command);
    EXPECT_THAT(refused.err, HasSubstr("try again")) << testing::PrintToString(command);
  }

  const RootedLogs logs_;
  ServedMachine machine_;
};

const Words kAuto{"fan", "0", "auto"};
const std::vector<Words> kAboutFans{
    {"fans"}, {"fans", "--json"}, {}, {"test", "fans"}, {"fan", "0", "4000"}};

TEST_F(LostKeys, CountOfFansAmongThemIsNoMachineWithoutFans) {
  machine_.breakable().breakKey("FNum", kKeyInfo, kBusy);
  for (const Words& command : kAboutFans) {
    expectRefused(command, "FNum");
  }
  expectRefused(kAuto, "FNum");
  EXPECT_THAT(machine_.writes(), IsEmpty());
}

TEST_F(LostKeys, KeyOfAFanAmongThemEndsWhatIsAboutFans) {
  machine_.breakable().breakKey("F1Mx", kKeyInfo, kBusy);
  for (const Words& command : kAboutFans) {
    expectRefused(command, "F1Mx");
  }
}

TEST_F(LostKeys, NoneOfThemKeepsAFanForcedThatCanBeHandedBack) {
  machine_.write("F0Md", 1, 1);
  machine_.breakable().breakKey("F1Mx", kKeyInfo, kBusy);
  const ProgramRun handed = run(kAuto);
  EXPECT_EQ(handed.exit, 0) << handed.err;
  EXPECT_THAT(handed.out, HasSubstr("Fan 0 is under automatic control."));
  EXPECT_THAT(handed.err, HasSubstr("not listed (F1Mx)"));
  EXPECT_EQ(machine_.number("F0Md", 1), 0U);
}

TEST_F(LostKeys, AreNotThoseThatTheControllerNeverDescribes) {
  constexpr auto kFailed = static_cast<platform::MachineStatus>(0xE00002CA);
  machine_.breakable().breakKey("F1Mx", kKeyInfo, kFailed);
  const ProgramRun shown = run({"fans"});
  EXPECT_EQ(shown.exit, 0) << shown.err;
  EXPECT_EQ(shown.err, "");
}

TEST_F(LostKeys, AllOfThemAreNoControllerWithoutKeys) {
  // A request by index carries the name that was asked for last.
  machine_.breakable().breakKey("#KEY", kKeyByIndex, kBusy);
  for (const Words& command : {Words{"fans"}, Words{"sensors"}, Words{}, Words{"test", "sensors"},
                               Words{"test", "fans"}}) {
    expectRefused(command, "none of the controller's 13 keys");
  }
}

TEST_F(LostKeys, CountThatCannotBeReadIsNoControllerWithoutKeys) {
  machine_.breakable().breakKey("#KEY", kRead, kBusy);
  for (const Words& command : {Words{"fans"}, Words{"test", "sensors"}, Words{"test", "fans"}}) {
    expectRefused(command, "the number of the controller's keys cannot be read (status e00002d5)");
  }
}

TEST_F(LostKeys, SensorAmongThemLeavesNoVerdict) {
  machine_.breakable().breakKey("TC0P", kKeyInfo, kBusy);
  expectRefused({"test", "sensors"}, "TC0P");
  const ProgramRun listed = run({"sensors"});
  EXPECT_EQ(listed.exit, 0);
  EXPECT_THAT(listed.err,
              HasSubstr("halvarin: 1 of the controller's 13 keys was not listed (TC0P)"));
  EXPECT_EQ(run({"fans"}).exit, 0);
}

TEST_F(LostKeys, ControllerThatCannotBeOpenedIsNoneWithoutKeys) {
  machine_.breakable().breakOpening(static_cast<platform::MachineStatus>(0xE00002C5));
  for (const Words& command :
       {Words{"fans"}, Words{"sensors"}, Words{"test", "fans"}, Words{"keys"}}) {
    expectRefused(command, "the controller cannot be opened (status e00002c5)");
  }
}

// Places in the list of the machine with mode keys.
constexpr std::uint8_t kPlaceOfF0Md = 2;
constexpr std::uint8_t kPlaceOfFNum = 11;
constexpr std::uint8_t kPlaceOfTC0P = 12;

TEST_F(LostKeys, ModeWithoutANameAmongThemIsNoFanThatIsAlwaysAutomatic) {
  machine_.write("F0Md", 1, 1);
  machine_.breakable().breakPlace(kPlaceOfF0Md, kBusy);
  expectRefused(kAuto, "(one without a name), and F0Md may be among them");
  machine_.breakable().breakKey("F0Md", kKeyInfo, kBusy);
  expectRefused(kAuto, "(one without a name), and F0Md may be among them");
  EXPECT_EQ(machine_.number("F0Md", 1), 1U);
}

TEST_F(LostKeys, CountOfFansWithoutANameAmongThemIsNoMachineWithoutFans) {
  machine_.breakable().breakPlace(kPlaceOfFNum, kBusy);
  expectRefused(kAuto, "(one without a name), and FNum may be among them");
}

TEST_F(LostKeys, SensorWithoutANameAmongThemKeepsNoFanForced) {
  machine_.write("F0Md", 1, 1);
  machine_.write("F1md", 1, 1);
  machine_.breakable().breakPlace(kPlaceOfTC0P, kBusy);
  EXPECT_EQ(run(kAuto).exit, 0);
  EXPECT_EQ(run({"fan", "1", "auto"}).exit, 0);
  EXPECT_EQ(machine_.number("F0Md", 1), 0U);
  EXPECT_EQ(machine_.number("F1md", 1), 0U);
}

TEST(LostKeysOfForceBits, NamelessOnesKeepNoFanForced) {
  ServedMachine served(fanMachine(FanStyle::forceBits));
  served.write("FS! ", 2, 1);
  served.breakable().breakPlace(1, kBusy);  // a speed
  served.breakable().breakKey("F0Md", kKeyInfo, kBusy);
  const ProgramRun handed = runProgram(HALVARIN_ROOTED, served.words(kAuto));
  EXPECT_EQ(handed.exit, 0) << handed.err;
  EXPECT_EQ(served.number("FS! ", 2), 0U);
}

constexpr std::size_t kManyKeys = 10;

std::string keyBeforeFans(std::size_t number) {
  return "B0A" + std::to_string(number);
}

/// Keys that controllers list before those of the fans, which begin with a later letter.
platform::RecordedMachine machineWithKeysBeforeFans() {
  auto keys = fanMachine(FanStyle::modeKeys).keys;
  keys.erase(keys.begin());  // the count of fewer keys
  for (std::size_t i = kManyKeys; i-- > 0;) {
    keys.insert(keys.begin(), key(keyBeforeFans(i), "ui8 ", {1}));
  }
  return machineWith(std::move(keys), "MacBookPro16,1");
}

class ManyLostKeys : public LostKeys {
 protected:
  ManyLostKeys() : LostKeys(machineWithKeysBeforeFans()) {
    for (std::size_t i = 0; i < kManyKeys; ++i) {
      machine_.breakable().breakKey(keyBeforeFans(i), kKeyInfo, kBusy);
    }
  }
};

TEST_F(ManyLostKeys, HideNoCountOfFansAmongThem) {
  machine_.breakable().breakKey("FNum", kKeyInfo, kBusy);
  for (const Words& command : kAboutFans) {
    expectRefused(command, "were not listed (FNum, B0A0, ");
  }
}

TEST_F(ManyLostKeys, HideNoModeOfAnotherFanAmongThem) {
  machine_.breakable().breakKey("F1md", kKeyInfo, kBusy);
  expectRefused({"fan", "0", "4000", "--leave"}, "F1md");
  EXPECT_THAT(machine_.writes(), IsEmpty());
}

TEST_F(ManyLostKeys, HideNoModeOfTheFanToBeHandedBackAmongThem) {
  machine_.write("F0Md", 1, 1);
  machine_.breakable().breakKey("F0Md", kKeyInfo, kBusy);
  expectRefused(kAuto, "and F0Md may be among them");
}

TEST_F(ManyLostKeys, KeepNoFanForcedThatCanBeHandedBack) {
  machine_.write("F0Md", 1, 1);
  EXPECT_EQ(run(kAuto).exit, 0);
  EXPECT_EQ(machine_.number("F0Md", 1), 0U);
}

TEST_F(ManyLostKeys, LetFansBeShownWhoseKeysAreListed) {
  const ProgramRun shown = run({"fans"});
  EXPECT_EQ(shown.exit, 0) << shown.err;
  EXPECT_THAT(shown.err, HasSubstr("at least 8 of the controller's 23 keys were not listed (B0A0"));
  EXPECT_EQ(run({"sensors"}).exit, 0);
}

TEST(KeysThatCannotBeListed, AreNotLost) {
  platform::RecordedMachine machine = fanMachine(FanStyle::modeKeys);
  machine.keys.push_back(key("\xFF\xFE\xFD\xFC", "ui8 ", {1}));  // no text
  machine.keys[0].bytes[3] = 20;                                 // more than there are
  ServedMachine served(std::move(machine));
  const ProgramRun run = halvarinRun(served.words({"fans"}));
  EXPECT_EQ(run.exit, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(halvarinRun(served.words({"test", "sensors"})).exit, 0);
}

TEST(KeysThatCannotBeListed, AreNoneOnMachinesThatSayTheyHaveNone) {
  for (const char* file : {"count-of-zero.txt", "empty-list.txt", "no-count-key.txt",
                           "hidden-keys.txt", "zero-byte-codes.txt"}) {
    for (const Words& command : {Words{"fans"}, Words{"sensors"}}) {
      Words words{"--machine", machineFile(file)};
      words.insert(words.end(), command.begin(), command.end());
      const ProgramRun run = halvarinRun(words);
      EXPECT_EQ(run.exit, 0) << file << run.err;
      EXPECT_THAT(run.err, Not(HasSubstr("not listed"))) << file;
    }
  }
}

}  // namespace
}  // namespace halvarin::test
