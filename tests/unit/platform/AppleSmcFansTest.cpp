// The keys by which fans are commanded, down to the driver's files.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/machine/linux/AppleSmcKeys.h"
#include "tests/support/FanMachines.h"
#include "tests/unit/platform/DriverBench.h"
#include "tests/unit/platform/OtherTree.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Names = DriverScript::Names;

constexpr std::uint8_t kNotWritable = 0x86;
constexpr std::uint8_t kBadArgument = 0x89;

/// Fans with float targets and upper-case mode keys, as machines with a second processor have.
platform::RecordedMachine floatFans() {
  const Bytes speed{0, 0, 0x96, 0x44};  // 1200
  return machineWith({key("F0Ac", "flt ", speed), key("F0Md", "ui8 ", {0}),
                      key("F0Mn", "flt ", speed), key("F0Tg", "flt ", speed),
                      key("FNum", "ui8 ", {1})});
}

/// Its files take what would hand a fan back, and keep what they show.
class StubbornDriver : public OtherTree {
 public:
  using OtherTree::OtherTree;
  [[nodiscard]] int write(const std::string& path, std::string_view text) override {
    return text == "0" ? 0 : OtherTree::write(path, text);
  }
};

/// Its controller does not give values by the cursor, while it is hoarse, but by the fans' files.
class HoarseDriver : public OtherTree {
 public:
  using OtherTree::OtherTree;
  [[nodiscard]] platform::FileContent read(const std::string& path, std::size_t most) override {
    const std::string cursor = std::string(ScriptedDriver::kDevice) + "/key_at_index";
    const bool isKept =
        path == cursor + "_data"
            ? isHoarse && (only.empty() || OtherTree::read(cursor + "_name", 256).bytes == only)
            : most > 0 && path == kept;
    return isKept ? platform::FileContent{EIO, {}} : OtherTree::read(path, most);
  }
  bool isHoarse = true;
  std::string only;  // the line that names the one key that it does not give; "" for all
  std::string kept;  // the path of a file that it does not give either
};

/// Its cursor is elsewhere after every value, once it is restless.
class RestlessDriver : public OtherTree {
 public:
  explicit RestlessDriver(const std::shared_ptr<ScriptedDriver>& driver)
      : OtherTree(driver), driver_(driver) {}
  [[nodiscard]] platform::FileContent read(const std::string& path, std::size_t most) override {
    platform::FileContent content = OtherTree::read(path, most);
    if (isRestless && path == std::string(ScriptedDriver::kDevice) + "/key_at_index_data") {
      driver_->moveCursor(0);
    }
    return content;
  }
  bool isRestless = false;

 private:
  const std::shared_ptr<ScriptedDriver> driver_;
};

/// Its monitor has another number from the moment on when it was loaded again.
class ReloadedDriver : public OtherTree {
 public:
  using OtherTree::OtherTree;
  [[nodiscard]] platform::FileContent read(const std::string& path, std::size_t most) override {
    return OtherTree::read(before(path), most);
  }
  [[nodiscard]] int write(const std::string& path, std::string_view text) override {
    return OtherTree::write(before(path), text);
  }
  [[nodiscard]] std::vector<std::string> list(const std::string& path) override {
    std::vector<std::string> names = OtherTree::list(before(path));
    std::replace(names.begin(), names.end(), std::string("hwmon3"), number());
    return names;
  }
  bool isReloaded = false;

 private:
  [[nodiscard]] std::string number() const { return isReloaded ? "hwmon7" : "hwmon3"; }
  /// The path that a file had when the driver was loaded first; none for those that are gone.
  [[nodiscard]] std::string before(std::string path) const {
    const std::size_t place = path.find("/hwmon/" + number());
    if (place != std::string::npos) {
      return path.replace(place, 13, "/hwmon/hwmon3");
    }
    return path.find("/hwmon/hwmon") == std::string::npos ? path : "/gone";
  }
};

constexpr std::array<std::pair<const char*, std::uint32_t>, 7> kFanKeys{
    {{"F0Ac", 2}, {"F0Mn", 2}, {"F0Mx", 2}, {"F0Tg", 2}, {"F1Ac", 2}, {"FNum", 1}, {"FS! ", 2}}};
constexpr auto kNoDevice = static_cast<platform::MachineStatus>(0xE00002C0);
constexpr auto kTransferFailed = static_cast<platform::MachineStatus>(0xE00002CA);

class SmcFans : public testing::Test {
 protected:
  explicit SmcFans(Names names = Names::older)
      : bench_(fanMachine(FanStyle::forceBits), {names, {}, {}, false}), keys_(bench_.newKeys()) {}

  std::uint8_t write(std::string_view code, const Bytes& bytes) {
    const platform::DriverAnswer answer = writeOf(*keys_, code, bytes);
    EXPECT_EQ(answer.status, 0);
    return answer.reply.result;
  }
  std::vector<std::string> writes() { return bench_.driver()->writes(); }

  const DriverBench bench_;
  const std::unique_ptr<platform::AppleSmcKeys> keys_;
};

TEST_F(SmcFans, AreForcedAndHandedBackByTheirBits) {
  EXPECT_EQ(write("FS! ", {0, 2}), 0);
  EXPECT_EQ(bytesOf(readOf(*keys_, "FS! ", 2), 2), (Bytes{0, 2}));
  EXPECT_EQ(write("F1Tg", {0x27, 0x10}), 0);
  EXPECT_EQ(bytesOf(readOf(*keys_, "F1Tg", 2), 2), (Bytes{0x27, 0x10}));
  EXPECT_EQ(write("FS! ", {0, 0}), 0);
  EXPECT_THAT(writes(), ElementsAre("fan2_manual 1", "fan2_output 2500", "fan2_manual 0"));
}

TEST_F(SmcFans, StayHandedBackByAnotherProcessWhenItsBitIsWrittenAsItWasRead) {
  bench_.driver()->setForced(0, true);
  bench_.driver()->setForced(1, true);
  const auto others = bench_.newKeys();
  ASSERT_EQ(bytesOf(readOf(*keys_, "FS! ", 2), 2), (Bytes{0, 3}));
  ASSERT_EQ(bytesOf(readOf(*others, "FS! ", 2), 2), (Bytes{0, 3}));
  EXPECT_EQ(write("FS! ", {0, 2}), 0);
  EXPECT_EQ(writeOf(*others, "FS! ", {0, 1}).reply.result, 0);
  EXPECT_EQ(bytesOf(readOf(*keys_, "FS! ", 2), 2), (Bytes{0, 0}));
  EXPECT_THAT(writes(), ElementsAre("fan1_manual 0", "fan2_manual 0"));
}

TEST_F(SmcFans, AreHandedBackWhenTheirBitsCouldNotBeReadSinceTheyWereForced) {
  ASSERT_EQ(bytesOf(readOf(*keys_, "FS! ", 2), 2), (Bytes{0, 0}));
  EXPECT_EQ(write("FS! ", {0, 1}), 0);
  bench_.driver()->setForced(1, true);
  bench_.driver()->setSilent(true);
  EXPECT_NE(readOf(*keys_, "FS! ", 2).status, 0);
  bench_.driver()->setSilent(false);
  EXPECT_EQ(write("FS! ", {0, 0}), 0);
  EXPECT_THAT(writes(), ElementsAre("fan1_manual 1", "fan1_manual 0"));
}

TEST_F(SmcFans, AreNotSaidToBeHandedBackByASilentController) {
  ASSERT_EQ(write("FS! ", {0, 1}), 0);
  bench_.driver()->setSilent(true);
  EXPECT_EQ(writeOf(*keys_, "FS! ", {0, 0}).status, platform::kStatusTransferFailed);
  bench_.driver()->setSilent(false);
  EXPECT_EQ(write("FS! ", {0, 0}), 0);
  EXPECT_THAT(writes(), ElementsAre("fan1_manual 1", "fan1_manual 0"));
}

TEST_F(SmcFans, AreHandedBackBesideARivalWhoNeverLetsTheCursorRest) {
  bench_.driver()->setForced(1, true);
  const auto restless = std::make_shared<RestlessDriver>(bench_.driver());
  platform::AppleSmcKeys keys(restless, bench_.found(), std::make_shared<platform::ScaledClock>(0));
  ASSERT_EQ(infoOf(keys, "FS! ").status, 0);
  ASSERT_EQ(infoOf(keys, "TC0P").status, 0);
  restless->isRestless = true;
  EXPECT_EQ(readOf(keys, "TC0P", 2).status, platform::kStatusBusy);
  EXPECT_EQ(bytesOf(readOf(keys, "FS! ", 2), 2), (Bytes{0, 2}));
  EXPECT_EQ(writeOf(keys, "FS! ", {0, 0}).status, 0);
  EXPECT_THAT(writes(), ElementsAre("fan2_manual 0"));
}

TEST_F(SmcFans, AreReadBesideARivalWhoNeverLetsTheCursorRest) {
  bench_.driver()->setForced(0, true);
  const auto restless = std::make_shared<RestlessDriver>(bench_.driver());
  platform::AppleSmcKeys keys(restless, bench_.found(), std::make_shared<platform::ScaledClock>(0));
  for (const auto& [code, size] : kFanKeys) {
    const Bytes alone = bytesOf(readOf(keys, code, size), size);
    restless->isRestless = true;
    const platform::DriverAnswer answer = readOf(keys, code, size);
    restless->isRestless = false;
    EXPECT_EQ(answer.status, 0) << code;
    EXPECT_EQ(bytesOf(answer, size), alone) << code;
  }
}

TEST_F(SmcFans, AreReadWhereTheControllerGivesTheirFilesAndNotTheirKeys) {
  bench_.driver()->setForced(1, true);
  const auto hoarse = std::make_shared<HoarseDriver>(bench_.driver());
  platform::AppleSmcKeys keys(hoarse, bench_.found(), std::make_shared<platform::ScaledClock>(0));
  EXPECT_EQ(bytesOf(readOf(keys, "FS! ", 2), 2), (Bytes{0, 2}));
  EXPECT_EQ(bytesOf(readOf(keys, "F0Ac", 2), 2), (Bytes{0x1F, 0x40}));
  EXPECT_EQ(readOf(keys, "TC0P", 2).status, kTransferFailed);
}

TEST_F(SmcFans, AreNotTakenForRefusedByAFailureThatTheirFilesDoNotShare) {
  const auto hoarse = std::make_shared<HoarseDriver>(bench_.driver());
  platform::AppleSmcKeys keys(hoarse, bench_.found(), std::make_shared<platform::ScaledClock>(0));
  hoarse->isHoarse = false;
  ASSERT_EQ(readOf(keys, "TC0P", 2).status, 0);
  hoarse->isHoarse = true;
  ASSERT_EQ(readOf(keys, "FS! ", 2).reply.result, 0);
  bench_.driver()->setSilent(true);
  EXPECT_EQ(readOf(keys, "FS! ", 2).status, kTransferFailed);
  bench_.driver()->setSilent(false);
  EXPECT_EQ(readOf(keys, "FS! ", 2).status, 0);
}

TEST(SmcFansThatOnlyTheirFilesShow, AreNotAskedWhetherTheControllerAnswers) {
  platform::RecordedMachine machine = fanMachine(FanStyle::forceBits);
  machine.keys.push_back(closedKey("MSSP"));
  const DriverBench bench(machine);
  const auto hoarse = std::make_shared<HoarseDriver>(bench.driver());
  hoarse->only = "F0Ac\n";
  platform::AppleSmcKeys keys(hoarse, bench.found(), std::make_shared<platform::ScaledClock>(0));
  ASSERT_EQ(readOf(keys, "TC0P", 2).status, 0);
  ASSERT_EQ(readOf(keys, "F0Ac", 2).status, 0);
  const platform::DriverAnswer refused = readOf(keys, "MSSP", 1);
  EXPECT_EQ(refused.status, 0);
  EXPECT_EQ(refused.reply.result, 0x85);
}

TEST(SmcFansThatOnlyTheirFilesShow, AreNotTakenForRefusedOnceAFileFails) {
  const DriverBench bench(fanMachine(FanStyle::forceBits));
  const auto hoarse = std::make_shared<HoarseDriver>(bench.driver());
  hoarse->only = "F0Ac\n";
  platform::AppleSmcKeys keys(hoarse, bench.found(), std::make_shared<platform::ScaledClock>(0));
  ASSERT_EQ(readOf(keys, "TC0P", 2).status, 0);
  ASSERT_EQ(readOf(keys, "F0Ac", 2).status, 0);
  hoarse->kept = std::string(ScriptedDriver::kDevice) + "/fan1_input";
  EXPECT_EQ(readOf(keys, "F0Ac", 2).status, kTransferFailed);
  hoarse->kept = "";
  EXPECT_EQ(bytesOf(readOf(keys, "F0Ac", 2), 2), (Bytes{0x1F, 0x40}));
}

TEST(SmcFloatFans, ShowTheirModesBesideARivalWhoNeverLetsTheCursorRest) {
  const DriverBench bench(floatFans());
  const auto restless = std::make_shared<RestlessDriver>(bench.driver());
  platform::AppleSmcKeys keys(restless, bench.found(), std::make_shared<platform::ScaledClock>(0));
  ASSERT_EQ(infoOf(keys, "F0Md").status, 0);
  bench.driver()->setForced(0, true);
  restless->isRestless = true;
  EXPECT_EQ(bytesOf(readOf(keys, "F0Md", 1), 1), (Bytes{1}));
}

TEST(SmcFansOfADriverThatWasLoadedAgain, AreHandedBackUnderItsNewNumber) {
  for (const FanStyle style : {FanStyle::forceBits, FanStyle::modeKeys}) {
    const bool hasBits = style == FanStyle::forceBits;
    const std::string_view mode = hasBits ? "FS! " : "F0Md";
    const DriverBench bench(fanMachine(style), {Names::newer, {}, {}, false});
    const auto reloaded = std::make_shared<ReloadedDriver>(bench.driver());
    platform::AppleSmcKeys keys(reloaded, bench.found(),
                                std::make_shared<platform::ScaledClock>(0));
    ASSERT_EQ(writeOf(keys, mode, hasBits ? Bytes{0, 1} : Bytes{1}).reply.result, 0);
    reloaded->isReloaded = true;
    EXPECT_TRUE(keys.isPresent());
    EXPECT_EQ(writeOf(keys, mode, hasBits ? Bytes{0, 0} : Bytes{0}).reply.result, 0);
    EXPECT_THAT(bench.driver()->writes(), ElementsAre("pwm1_enable 1", "pwm1_enable 2"));
  }
}

TEST(SmcFansOfAnotherChip, AreNotWritten) {
  const DriverBench bench(fanMachine(FanStyle::modeKeys), {Names::newer, {}, {}, false});
  const auto keys = bench.newKeys();
  ASSERT_EQ(infoOf(*keys, "F0Md").status, 0);
  ASSERT_EQ(infoOf(*keys, "F0Tg").status, 0);
  std::ofstream(bench.folder() / "root" / std::string(ScriptedDriver::kMonitor).substr(1) / "name")
      << "amdgpu\n";
  EXPECT_EQ(writeOf(*keys, "F0Md", {1}).status, kNoDevice);
  EXPECT_EQ(writeOf(*keys, "F0Tg", {0x27, 0x10}).status, kNoDevice);
  EXPECT_THAT(bench.driver()->writes(), IsEmpty());
}

TEST_F(SmcFans, TakeALeastSpeed) {
  EXPECT_EQ(write("F0Mn", {0x12, 0xC0}), 0);
  EXPECT_THAT(writes(), ElementsAre("fan1_min 1200"));
}

TEST_F(SmcFans, RefuseWhatTheDriverCannotWrite) {
  EXPECT_EQ(write("F0Ac", {0, 0}), kNotWritable);
  EXPECT_EQ(write("F0Mx", {0, 0}), kNotWritable);
  EXPECT_EQ(write("FNum", {1}), kNotWritable);
  EXPECT_EQ(write("TC0P", {0, 0}), kNotWritable);
  EXPECT_EQ(write("ABCD", {0, 0}), kNotWritable);
  EXPECT_EQ(write("#KEY", {0, 0, 0, 0}), kNotWritable);
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(SmcFans, RefuseASizeOrAFanThatIsNotThere) {
  EXPECT_EQ(write("FS! ", {0}), 0x87);
  EXPECT_EQ(write("F0Tg", {0, 0, 0, 0}), 0x87);
  EXPECT_EQ(write("F0Md", {1}), 0x84);
  EXPECT_EQ(write("F2Tg", {0x27, 0x10}), 0x84);
  EXPECT_EQ(write("FS! ", {0, 4}), kNotWritable);
  EXPECT_THAT(writes(), IsEmpty());
}

TEST(SmcFloatFans, AreForcedByTheirModeKeys) {
  const DriverBench bench(floatFans());
  const auto keys = bench.newKeys();
  EXPECT_EQ(writeOf(*keys, "F0Md", {1}).reply.result, 0);
  EXPECT_EQ(writeOf(*keys, "F0Tg", {0x00, 0x40, 0x1C, 0x45}).reply.result, 0);  // 2500
  EXPECT_EQ(bytesOf(readOf(*keys, "F0Tg", 4), 4), (Bytes{0x00, 0x40, 0x1C, 0x45}));
  EXPECT_EQ(bytesOf(readOf(*keys, "F0Md", 1), 1), (Bytes{1}));
  EXPECT_EQ(writeOf(*keys, "F0Md", {0}).reply.result, 0);
  EXPECT_EQ(writeOf(*keys, "F0Md", {0}).reply.result, 0);
  EXPECT_THAT(bench.driver()->writes(),
              ElementsAre("fan1_manual 1", "fan1_output 2500", "fan1_manual 0", "fan1_manual 0"));
}

TEST(SmcFansThatStayForced, FailToBeHandedBack) {
  const auto clock = std::make_shared<platform::ScaledClock>(0);
  const DriverBench bits(fanMachine(FanStyle::forceBits));
  platform::AppleSmcKeys bitKeys(std::make_shared<StubbornDriver>(bits.driver()), bits.found(),
                                 clock);
  ASSERT_EQ(writeOf(bitKeys, "FS! ", {0, 1}).status, 0);
  EXPECT_EQ(writeOf(bitKeys, "FS! ", {0, 0}).status, kTransferFailed);
  EXPECT_EQ(writeOf(bitKeys, "FS! ", {0, 0}).status, kTransferFailed) << "asked again";
  const DriverBench modes(floatFans());
  platform::AppleSmcKeys modeKeys(std::make_shared<StubbornDriver>(modes.driver()), modes.found(),
                                  clock);
  ASSERT_EQ(writeOf(modeKeys, "F0Md", {1}).status, 0);
  EXPECT_EQ(writeOf(modeKeys, "F0Md", {0}).status, kTransferFailed);
}

TEST(SmcFloatFans, TakeNoModesAndSpeedsThatTheDriverDoesNotKnow) {
  const DriverBench bench(floatFans());
  const auto keys = bench.newKeys();
  EXPECT_EQ(writeOf(*keys, "F0Md", {2}).reply.result, kBadArgument);
  EXPECT_EQ(writeOf(*keys, "F0Md", {0xFF}).reply.result, kBadArgument);
  EXPECT_EQ(writeOf(*keys, "F0Tg", {0, 0, 0xC0, 0x7F}).reply.result, kBadArgument);  // nan
  EXPECT_EQ(writeOf(*keys, "F0Tg", {0, 0, 0x80, 0x46}).reply.result, kBadArgument);  // 16384
  EXPECT_EQ(writeOf(*keys, "F0Tg", {0, 0, 0x80, 0xBF}).reply.result, kBadArgument);  // -1
  EXPECT_THAT(bench.driver()->writes(), IsEmpty());
}

TEST(SmcFansOfNewerKernels, AreWrittenUnderTheirNames) {
  const DriverBench bench(fanMachine(FanStyle::forceBits), {Names::newer, {}, {}, false});
  const auto keys = bench.newKeys();
  EXPECT_EQ(writeOf(*keys, "FS! ", {0, 1}).reply.result, 0);
  EXPECT_EQ(writeOf(*keys, "F0Tg", {0x27, 0x10}).reply.result, 0);
  EXPECT_EQ(writeOf(*keys, "FS! ", {0, 0}).reply.result, 0);
  EXPECT_THAT(bench.driver()->writes(),
              ElementsAre("pwm1_enable 1", "fan1_target 2500", "pwm1_enable 2"));
}

TEST(SmcFansOfADoubtfulDriver, AreLeftAlone) {
  const DriverBench bench(fanMachine(FanStyle::forceBits), {Names::both, {}, {}, false});
  const auto keys = bench.newKeys();
  EXPECT_EQ(writeOf(*keys, "FS! ", {0, 1}).reply.result, kNotWritable);
  EXPECT_EQ(writeOf(*keys, "F0Tg", {0x27, 0x10}).reply.result, kNotWritable);
  EXPECT_THAT(bench.driver()->writes(), IsEmpty());
}

TEST(SmcFansWithoutRights, AreNotPrivileged) {
  const DriverBench bench(fanMachine(FanStyle::forceBits),
                          {Names::older, {}, {"fan1_manual", "fan1_output"}, false});
  const auto keys = bench.newKeys();
  constexpr auto kNotPrivileged = static_cast<platform::MachineStatus>(0xE00002C1);
  EXPECT_EQ(writeOf(*keys, "FS! ", {0, 1}).status, kNotPrivileged);
  EXPECT_EQ(writeOf(*keys, "F0Tg", {0x27, 0x10}).status, kNotPrivileged);
}

}  // namespace
}  // namespace halvarin::test
