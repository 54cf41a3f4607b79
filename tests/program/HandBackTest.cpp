// Every way in which the program can end while it holds a fan, on every kind of machine: the fan is
// automatic again within two seconds, and nothing of the program is left.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>
#include <tuple>

#include "tests/support/FanMachines.h"
#include "tests/support/Guardian.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/ServedMachine.h"
#include "tests/support/Until.h"

namespace halvarin::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kMost = 20s;  // until a program on a busy computer has begun
constexpr auto kHandBackLimit = 2s;

struct Way {
  const char* name;
  int signal;  // 0: another program hands the fan back, and the holder ends by itself
};

void PrintTo(const Way& way, std::ostream* out) {
  *out << way.name;
}

class HandBack : public testing::TestWithParam<std::tuple<FanStyle, Way>> {
 protected:
  HandBack() : style_(std::get<0>(GetParam())), machine_(fanMachine(style_)) {}

  /// Whether fan 1 is forced, by the keys of its machine's kind.
  bool isForced() {
    return style_ == FanStyle::forceBits ? (machine_.number("FS! ", 2) & 2U) != 0
                                         : machine_.number("F1md", 1) != 0;
  }
  bool flagIsOn() { return style_ == FanStyle::testFlag && machine_.number("Ftst", 1) != 0; }

  void end(RunningProgram& program, int signal) {
    if (signal != 0) {
      program.signal(signal);
    } else {
      style_ == FanStyle::forceBits ? machine_.write("FS! ", 2, 0) : machine_.write("F1md", 1, 0);
    }
  }

  const FanStyle style_;
  ServedMachine machine_;
};

TEST_P(HandBack, LeavesNoFanForcedAndNoGuardian) {
  const Way way = std::get<1>(GetParam());
  const auto words = machine_.words({"fan", "1", "4000"});
  RunningProgram program(HALVARIN_PROGRAM, words);
  ASSERT_TRUE(program.waitForOutput("Ctrl-C hands it back", kMost)) << program.soFar().err;
  ASSERT_TRUE(isForced());
  ASSERT_EQ(flagIsOn(), style_ == FanStyle::testFlag);
  ASSERT_NE(guardianOf(words[1]), 0);
  // A fan that is handed back before the program has seen it forced has not taken the command.
  ASSERT_TRUE(way.signal != 0 || program.waitForOutput("turns at", kMost));
  end(program, way.signal);
  EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return !isForced() && !flagIsOn(); }));
  EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return guardianOf(words[1]) == 0; }));
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  // Which exit a crash has is for whoever watches the process, a sanitizer for one.
  const bool isSudden = way.signal == SIGABRT || way.signal == SIGKILL || way.signal == SIGSEGV;
  EXPECT_EQ(run->exit != 0, isSudden) << run->exit << run->err;
  EXPECT_FALSE(isForced());
}

std::string nameOf(const testing::TestParamInfo<HandBack::ParamType>& instance) {
  constexpr std::array<const char*, 3> kStyles{"ForceBits", "ModeKeys", "TestFlag"};
  return std::string(kStyles[static_cast<std::size_t>(std::get<0>(instance.param))]) +
         std::get<1>(instance.param).name;
}

INSTANTIATE_TEST_SUITE_P(
    All, HandBack,
    testing::Combine(testing::Values(FanStyle::forceBits, FanStyle::modeKeys, FanStyle::testFlag),
                     testing::Values(Way{"Normally", 0}, Way{"BySigint", SIGINT},
                                     Way{"BySigterm", SIGTERM}, Way{"BySighup", SIGHUP},
                                     Way{"ByAbort", SIGABRT}, Way{"ByACrash", SIGSEGV},
                                     Way{"BySigkill", SIGKILL})),
    nameOf);

TEST(HoldingAFan, TheGuardianOutlivesWhatEndsTheWholeGroup) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys));
  // A terminal sends Ctrl-C to every process of the group.
  RunningProgram program(HALVARIN_PROGRAM, machine.words({"fan", "0", "4000"}), {24, 80});
  ASSERT_TRUE(program.waitForOutput("Ctrl-C hands it back", kMost));
  program.type("\x03");
  const auto run = program.waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 0);
  EXPECT_EQ(machine.number("F0Md", 1), 0U);
}

/// A program that holds fan 0 of a machine with mode keys.
class HeldFan : public testing::Test {
 protected:
  HeldFan()
      : machine_(fanMachine(FanStyle::modeKeys)), words_(machine_.words({"fan", "0", "4000"})) {
    program_.emplace(HALVARIN_PROGRAM, words_);
    EXPECT_TRUE(program_->waitForOutput("turns at", kMost)) << program_->soFar().err;
    EXPECT_TRUE(isForced());
  }
  bool isForced() { return machine_.number("F0Md", 1) != 0; }

  ServedMachine machine_;
  const std::vector<std::string> words_;
  std::optional<RunningProgram> program_;
};

TEST_F(HeldFan, IsHandedBackWhenItsGuardianDies) {
  ASSERT_TRUE(killGuardianOf(words_[1]));
  const auto run = program_->waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 6);
  EXPECT_THAT(run->err, testing::HasSubstr("the guardian has ended"));
  EXPECT_FALSE(isForced());
}

TEST_F(HeldFan, IsHandedBackThoughTheCountOfFansCannotBeRead) {
  machine_.breakable().breakKey("FNum", 5, static_cast<platform::MachineStatus>(0xE00002D5));
  program_->signal(SIGTERM);
  ASSERT_TRUE(program_->waitForEnd(kMost));
  EXPECT_FALSE(isForced());
}

TEST_F(HeldFan, IsHandedBackByTheGuardianOnceTheMachineAnswersAgain) {
  machine_.breakable().breakKey("F0Md", 6, static_cast<platform::MachineStatus>(0xE00002D5));
  program_->signal(SIGKILL);
  ASSERT_TRUE(program_->waitForEnd(kMost));
  const std::size_t before = machine_.readCount("F0Md");
  ASSERT_TRUE(becomesTrue(kMost, [&] { return machine_.readCount("F0Md") > before + 4; }));
  EXPECT_TRUE(isForced());
  machine_.breakable().mend();
  EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return !isForced(); }));
  EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return guardianOf(words_[1]) == 0; }));
}

TEST_F(HeldFan, IsNotSaidToBeHandedBackByAMachineThatRefusesWithoutAWord) {
  machine_.breakable().breakKey("F0Md", 6, 0);
  program_->signal(SIGINT);
  const auto run = program_->waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 6);
  EXPECT_THAT(run->err, testing::HasSubstr("could not be handed back"));
  EXPECT_TRUE(isForced());
  machine_.breakable().mend();
  EXPECT_TRUE(becomesTrue(kHandBackLimit, [&] { return !isForced(); }));
}

TEST_F(HeldFan, IsHeldOnWhileTheControllerIsBusyForAMoment) {
  machine_.breakable().breakKey("FNum", 5, static_cast<platform::MachineStatus>(0xE00002D5));
  const std::size_t before = machine_.readCount("F0Ac");
  ASSERT_TRUE(becomesTrue(kMost, [&] { return machine_.readCount("F0Ac") > before + 1; }));
  machine_.breakable().mend();
  ASSERT_TRUE(becomesTrue(kMost, [&] { return machine_.readCount("F0Ac") > before + 6; }));
  EXPECT_TRUE(isForced());
  program_->signal(SIGINT);
  EXPECT_EQ(program_->waitForEnd(kMost)->exit, 0);
}

TEST_F(HeldFan, CannotBeSuspended) {
  program_->signal(SIGTSTP);
  program_->signal(SIGINT);
  const auto run = program_->waitForEnd(kMost);
  ASSERT_TRUE(run);
  EXPECT_EQ(run->exit, 0);
}

TEST(HoldingAFan, EndsWithoutTouchingTheFanOfAnother) {
  for (const FanStyle style : {FanStyle::forceBits, FanStyle::modeKeys, FanStyle::testFlag}) {
    ServedMachine machine(fanMachine(style));
    RunningProgram first(HALVARIN_PROGRAM, machine.words({"fan", "0", "4000"}));
    ASSERT_TRUE(first.waitForOutput("turns at", kMost));
    RunningProgram second(HALVARIN_PROGRAM, machine.words({"fan", "1", "5000"}));
    ASSERT_TRUE(second.waitForOutput("turns at", kMost));
    first.signal(SIGINT);
    EXPECT_EQ(first.waitForEnd(kMost)->exit, 0);
    const std::uint32_t mode =
        style == FanStyle::forceBits ? machine.number("FS! ", 2) >> 1U : machine.number("F1md", 1);
    EXPECT_EQ(mode, 1U) << testing::PrintToString(style);
    second.signal(SIGINT);
    EXPECT_EQ(second.waitForEnd(kMost)->exit, 0);
  }
}

TEST(HoldingAFan, WritesNoneOfItsTextToTheMachineWhenItsOutputIsClosed) {
  ServedMachine machine(fanMachine(FanStyle::modeKeys));
  std::string command = std::string("'") + HALVARIN_PROGRAM + "'";
  for (const std::string& word : machine.words({"fan", "0", "4000", "--leave"})) {
    command += " '" + word + "'";
  }
  EXPECT_EQ(WEXITSTATUS(std::system((command + " <&- >&- 2>&-").c_str())), 6);
  EXPECT_EQ(machine.number("F0Md", 1), 1U);
}

TEST(HoldingAFan, NoFanIsForcedUnderAGuardianThatDoesNotKnowItsKey) {
  for (const FanStyle style : {FanStyle::forceBits, FanStyle::modeKeys}) {
    ServedMachine machine(fanMachine(style));
    const std::string key = style == FanStyle::forceBits ? "FS! " : "F0Md";
    // What a guardian finds that was started while the controller was busy.
    constexpr std::uint8_t kKeyInfo = 9;
    machine.breakable().breakKey(key, kKeyInfo, static_cast<platform::MachineStatus>(0xE00002D5));
    const ProgramRun guardian = halvarinRun(machine.words({"hand-back-fans", "0"}));
    EXPECT_EQ(guardian.exit, 6) << guardian.err;
    EXPECT_EQ(guardian.out, "") << "it did not say that it is ready";
    EXPECT_THAT(guardian.err, testing::HasSubstr("did not find the keys of the fans"));
  }
}

TEST(HoldingAFan, WorksBesideAFanThatNothingCanForce) {
  ServedMachine machine(
      machineWith({key("F0Ac", "fpe2", {0x1F, 0x40}), key("F0Md", "ui8 ", {0}),
                   key("F0Mn", "fpe2", {0x12, 0xC0}), key("F0Mx", "fpe2", {0x5D, 0xC0}),
                   key("F0Tg", "fpe2", {0x1F, 0x40}), key("F1Ac", "fpe2", {0x1F, 0x40}),
                   key("FNum", "ui8 ", {2})},
                  "MacBookPro16,1"));
  RunningProgram program(HALVARIN_PROGRAM, machine.words({"fan", "0", "4000"}));
  EXPECT_TRUE(program.waitForOutput("turns at", kMost)) << program.soFar().err;
  program.signal(SIGINT);
  EXPECT_EQ(program.waitForEnd(kMost)->exit, 0);
}

TEST(HoldingAFan, NoFanIsForcedOnceTheMachineIsGone) {
  platform::Simulation simulation;
  simulation.vanishAfter = 60;  // the program has begun by then, and its guardian has not
  ServedMachine machine(fanMachine(FanStyle::modeKeys), simulation);
  const ProgramRun run = halvarinRun(machine.words({"fan", "0", "4000"}));
  EXPECT_NE(run.exit, 0);
  EXPECT_THAT(machine.writes(), testing::IsEmpty());
}

}  // namespace
}  // namespace halvarin::test
