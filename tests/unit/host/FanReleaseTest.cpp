#include "host/fans/FanRelease.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/Clock.h"
#include "platform/machine/CurrentMachine.h"
#include "tests/support/BreakableMachine.h"
#include "tests/unit/host/TwoFans.h"

namespace halvarin::test {
namespace {

using host::MachineOption;
using testing::ElementsAre;
using testing::IsEmpty;

class FanRelease : public TwoFans {
 protected:
  /// Fan 0 is forced, and its key cannot be written for half a second; time runs so fast that all
  /// tries take three.
  bool handsBackAfterAWhile(std::uint32_t status, MachineOption::Kind kind) {
    start({key("F0Md", "ui8 ", {1})});
    return handsBackAfterAWhile({{"F0Md", status}}, {0}, kind);
  }
  static constexpr auto kBusy = static_cast<platform::MachineStatus>(0xE00002D5);

  std::shared_ptr<BreakableMachine> breakable() {
    auto machine = std::make_shared<BreakableMachine>(installed_.machine);
    platform::setMachine(machine, std::make_shared<platform::ScaledClock>(100));
    return machine;
  }
  bool handsBackAfterAWhile(const std::map<std::string, std::uint32_t>& statuses,
                            const std::vector<std::uint32_t>& fans, MachineOption::Kind kind) {
    const auto machine = breakable();
    for (const auto& [key, status] : statuses) {
      machine->breakKey(key, 6, static_cast<platform::MachineStatus>(status));
    }
    std::thread mender([&machine] {
      std::this_thread::sleep_for(std::chrono::milliseconds(500));
      machine->mend();
    });
    const bool done = host::handBackPersistently(*facade_, {fans, false}, kind);
    mender.join();
    return done;
  }
};

TEST_F(FanRelease, FindingOutWhyChangesNoKey) {
  start({key("F0Md", "ui8 ", {0}), key("FS! ", "ui16", {1, 2}), key("Ftst", "ui8 ", {0})});
  EXPECT_EQ(host::fanCommandStatus(0), std::nullopt);
  EXPECT_THAT(writes(), ElementsAre("write Ftst size 1 bytes 00 -> done",
                                    "write F0Md size 1 bytes 00 -> done",
                                    "write F0Tg size 2 bytes 1F40 -> done"));
}

TEST_F(FanRelease, AModeKeyThatWasNotListedWholeHandsNothingBack) {
  platform::Simulation simulation;
  simulation.faults.push_back(faultOf("F0Md", 9));
  start({key("F0Md", "ui8 ", {1})}, simulation);
  EXPECT_FALSE(host::handBackFans(*facade_, {{0}, false}));
}

TEST_F(FanRelease, ForceBitsThatWereNotListedWholeHandNothingBack) {
  platform::Simulation simulation;
  simulation.faults.push_back(faultOf("FS! ", 9));
  start({key("FS! ", "ui16", {0, 1})}, simulation);
  EXPECT_FALSE(host::handBackFans(*facade_, {{0}, false}));
}

TEST_F(FanRelease, ForceBitsThatCannotBeReadAreNotWritten) {
  start({key("FS! ", "ui16", {0, 2})});
  const auto machine = breakable();
  machine->breakKey("FS! ", 5, kBusy);
  static_cast<void>(facade_->readFans());
  EXPECT_FALSE(host::handBackFans(*facade_, {{0}, false}));
  EXPECT_THAT(writes(), IsEmpty()) << "fan 1 is another's";
  machine->mend();
  EXPECT_TRUE(host::handBackFans(*facade_, {{0}, false}));
  EXPECT_THAT(writes(), ElementsAre("write FS!  size 2 bytes 0002 -> done"));
}

TEST_F(FanRelease, ATestFlagThatIsOffNeedsNoWordOnOtherFans) {
  start({key("F0Md", "ui8 ", {1}), key("F1Md", "ui8 ", {0}), key("Ftst", "ui8 ", {0})});
  breakable()->breakKey("F1Md", 5, kBusy);
  EXPECT_TRUE(host::handBackFans(*facade_, {{0}, true}));
  EXPECT_THAT(writes(), ElementsAre("write F0Md size 1 bytes 00 -> done"));
}

TEST_F(FanRelease, ATestFlagThatIsOnStaysSoWhereNobodyCanSayWhoHoldsAnotherFan) {
  start({key("F0Md", "ui8 ", {1}), key("F1Md", "ui8 ", {0}), key("Ftst", "ui8 ", {1})});
  breakable()->breakKey("F1Md", 5, kBusy);
  EXPECT_FALSE(host::handBackFans(*facade_, {{0}, true}));
  EXPECT_THAT(writes(), ElementsAre("write F0Md size 1 bytes 00 -> done"));
}

TEST_F(FanRelease, FindingOutWhyForcesNothing) {
  start({key("F0Md", "ui8 ", {1}), key("Ftst", "ui8 ", {1})});
  EXPECT_EQ(host::fanCommandStatus(0), std::nullopt);
  EXPECT_THAT(writes(), ElementsAre("write F0Md size 1 bytes 00 -> done",
                                    "write F0Tg size 2 bytes 1F40 -> done"));
}

TEST_F(FanRelease, FindingOutWhyOfATestedFanLeavesItForced) {
  start({key("F0Md", "ui8 ", {1}), key("FS! ", "ui16", {0, 2})});
  EXPECT_EQ(host::controlStatus(0, host::Probe::leavesForced), 0);
  EXPECT_EQ(host::controlStatus(1, host::Probe::leavesForced), 0);
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(FanRelease, FindingOutWhySetsNoForceBitOfTheFan) {
  start({key("FS! ", "ui16", {0, 3})});
  EXPECT_EQ(host::fanCommandStatus(1), std::nullopt);
  EXPECT_EQ(writes().front(), "write FS!  size 2 bytes 0001 -> done");
}

TEST_F(FanRelease, FindingOutWhyOfTheFlagAloneTouchesNoFan) {
  start({key("F0Md", "ui8 ", {1}), key("Ftst", "ui8 ", {1})});
  EXPECT_EQ(host::releaseStatus({{}, true}), std::nullopt);
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(FanRelease, GoesOnWhileTheMachineIsBusy) {
  EXPECT_TRUE(handsBackAfterAWhile(0xE00002D5, MachineOption::Kind::socket));
}

TEST_F(FanRelease, GoesOnWhileTheDriverOfThisComputerIsNotThere) {
  EXPECT_TRUE(handsBackAfterAWhile(0xE00002C0, MachineOption::Kind::thisComputer));
}

TEST_F(FanRelease, EndsOnceTheProcessIsGoneThatServedTheMachine) {
  EXPECT_FALSE(handsBackAfterAWhile(0xE00002C0, MachineOption::Kind::socket));
}

TEST_F(FanRelease, GoesOnForAFanThatIsPermittedBesideOneThatIsNot) {
  start({key("F0Md", "ui8 ", {1}), key("F1Md", "ui8 ", {1})});
  EXPECT_TRUE(handsBackAfterAWhile({{"F0Md", 0xE00002C1}, {"F1Md", 0xE00002D5}}, {0, 1},
                                   MachineOption::Kind::thisComputer));
}

TEST_F(FanRelease, EndsWhereTheSystemDoesNotPermitIt) {
  EXPECT_FALSE(handsBackAfterAWhile(0xE00002C1, MachineOption::Kind::thisComputer));
}

}  // namespace
}  // namespace halvarin::test
