#include "platform/machine/linux/HwmonKeys.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "platform/machine/linux/DiskTree.h"
#include "tests/support/AppleSiliconTree.h"
#include "tests/support/SharedData.h"
#include "tests/unit/platform/DriverBench.h"

namespace halvarin::test {
namespace {

using platform::DriverAnswer;
using platform::fourBytes;
using platform::HwmonKeys;

constexpr auto kNoDevice = static_cast<platform::MachineStatus>(0xE00002C0);

Bytes floatBytes(float number) {
  Bytes bytes(4);
  std::memcpy(bytes.data(), &number, 4);
  return bytes;
}

class SyntheticKeys : public testing::Test {
 protected:
  SyntheticKeys() { layOutAppleSilicon(folder_); }

  std::unique_ptr<HwmonKeys> newKeys() {
    const auto files = std::make_shared<platform::DiskTree>(folder_.path().string());
    return std::make_unique<HwmonKeys>(files, *platform::findSmcDriver(*files));
  }
  std::vector<std::string> listed() {
    const auto keys = newKeys();
    std::vector<std::string> codes;
    for (std::uint32_t i = 0; keyAt(*keys, i).reply.result == 0; ++i) {
      const platform::FourBytes code = keyAt(*keys, i).reply.key;
      codes.emplace_back(code.begin(), code.end());
    }
    return codes;
  }
  float reading(HwmonKeys& keys, std::string_view code) {
    const DriverAnswer answer = readOf(keys, code, 4);
    EXPECT_EQ(answer.status, 0) << code;
    EXPECT_EQ(answer.reply.result, 0) << code;
    float number = std::numeric_limits<float>::quiet_NaN();
    std::memcpy(&number, answer.reply.bytes.data(), 4);
    return number;
  }
  std::string target() { return fileText(folder_.path() / kTarget); }
  static std::uint8_t mode(HwmonKeys& keys) { return bytesOf(readOf(keys, "F0Md", 1), 1)[0]; }

  const std::string kTarget = std::string(kAppleSiliconMonitor) + "fan1_target";
  const TemporaryFolder folder_;
};

TEST_F(SyntheticKeys, AreThoseThatTheDeviceTreeNamesAndTheFans) {
  EXPECT_EQ(listed(), (std::vector<std::string>{"#KEY", "F0Ac", "F0Md", "F0Mn", "F0Mx", "F0Tg",
                                                "FNum", "ID0R", "PSTR", "TB0T", "TCHP", "VD0R"}));
  EXPECT_EQ(keyAt(*newKeys(), 12).reply.result, 0xB8);
}

TEST_F(SyntheticKeys, AreFloatsInTheUsualUnits) {
  const auto keys = newKeys();
  EXPECT_FLOAT_EQ(reading(*keys, "TCHP"), 41.25F);
  EXPECT_FLOAT_EQ(reading(*keys, "TB0T"), -3);
  EXPECT_FLOAT_EQ(reading(*keys, "VD0R"), 20.25F);
  EXPECT_FLOAT_EQ(reading(*keys, "ID0R"), 0.75F);
  EXPECT_FLOAT_EQ(reading(*keys, "PSTR"), 12.5F);
  EXPECT_FLOAT_EQ(reading(*keys, "F0Ac"), 1499);
  EXPECT_FLOAT_EQ(reading(*keys, "F0Mn"), 1200);
  EXPECT_FLOAT_EQ(reading(*keys, "F0Mx"), 7200);
  EXPECT_EQ(infoOf(*keys, "TCHP").reply.type, fourBytes("flt "));
  EXPECT_EQ(infoOf(*keys, "TCHP").reply.sizeBytes, 4U);
  EXPECT_EQ(infoOf(*keys, "F0Md").reply.type, fourBytes("ui8 "));
  EXPECT_EQ(infoOf(*keys, "ABCD").reply.result, 0x84);
  EXPECT_EQ(readOf(*keys, "ABCD", 4).reply.result, 0x84);
  EXPECT_EQ(readOf(*keys, "TCHP", 2).reply.result, 0x87);
}

TEST_F(SyntheticKeys, CountThemselvesAndTheFans) {
  const auto keys = newKeys();
  EXPECT_EQ(bytesOf(readOf(*keys, "#KEY", 4), 4), (Bytes{0, 0, 0, 12}));
  EXPECT_EQ(bytesOf(readOf(*keys, "FNum", 1), 1), (Bytes{1}));
}

TEST_F(SyntheticKeys, AreReadAnewEachTime) {
  const auto keys = newKeys();
  folder_.write(kAppleSiliconMonitor + std::string("temp1_input"), "50000\n");
  EXPECT_FLOAT_EQ(reading(*keys, "TCHP"), 50);
  for (const char* text : {"", "hot\n", "-\n", "1.5\n", "\xFF\n"}) {
    folder_.write(kAppleSiliconMonitor + std::string("temp1_input"), text);
    EXPECT_EQ(readOf(*keys, "TCHP", 4).status, platform::kStatusTransferFailed) << text;
  }
}

TEST_F(SyntheticKeys, LeaveOutWhatIsNotCertain) {
  const std::string monitor = kAppleSiliconMonitor;
  addTreeNode(folder_, "temperature-Ta", "TaLP", "Twice");
  folder_.write(monitor + "temp3_label", "Twice\n");
  folder_.write(monitor + "temp3_input", "1\n");
  folder_.write(monitor + "temp4_label", "Twice\n");
  folder_.write(monitor + "temp4_input", "2\n");
  addTreeNode(folder_, "temperature-Tb", "TbLP", "Not among the readings");
  addTreeNode(folder_, "temperature-Tc", "TOOLONG", "Battery Hotspot");
  addTreeNode(folder_, "temperature-Td", "T", "Battery Hotspot");
  addTreeNode(folder_, "other-ZZZZ", "ZZZZ", "Battery Hotspot");
  folder_.write(monitor + "of_node/temperature-Te/apple,key-id", std::string(1 << 20U, 'T'));
  folder_.write(monitor + "of_node/temperature-Tf/apple,key-id/folder", "");
  EXPECT_EQ(listed().size(), 12U);
}

TEST_F(SyntheticKeys, AreTheTwoCountsAloneWithoutADeviceTree) {
  std::filesystem::remove_all(folder_.path() / kAppleSiliconMonitor / "of_node");
  EXPECT_EQ(listed(), (std::vector<std::string>{"#KEY", "FNum"}));
  EXPECT_EQ(bytesOf(readOf(*newKeys(), "FNum", 1), 1), (Bytes{0}));
}

TEST_F(SyntheticKeys, AreLabelledByTheirKeyWhereTheTreeHasNoLabel) {
  addTreeNode(folder_, "temperature-TVA0", "TVA0", "");
  folder_.write(kAppleSiliconMonitor + std::string("temp3_label"), "TVA0\n");
  folder_.write(kAppleSiliconMonitor + std::string("temp3_input"), "33000\n");
  const auto keys = newKeys();
  EXPECT_FLOAT_EQ(reading(*keys, "TVA0"), 33);
}

TEST_F(SyntheticKeys, ForceAFanByItsTarget) {
  const auto keys = newKeys();
  EXPECT_EQ(mode(*keys), 0);
  EXPECT_EQ(writeOf(*keys, "F0Md", {1}).reply.result, 0);
  EXPECT_EQ(target(), "1499") << "announcing changes nothing yet";
  EXPECT_EQ(mode(*keys), 0);
  EXPECT_EQ(writeOf(*keys, "F0Tg", floatBytes(2500)).reply.result, 0);
  EXPECT_EQ(target(), "2500");
  EXPECT_EQ(mode(*keys), 1);
  EXPECT_EQ(writeOf(*keys, "F0Md", {1}).reply.result, 0);
  EXPECT_EQ(mode(*keys), 1);
}

/// A driver that lets its files be written and keeps what they hold.
class DeafTree : public platform::DiskTree {
 public:
  using DiskTree::DiskTree;
  [[nodiscard]] int write(const std::string& /*path*/, std::string_view /*text*/) override {
    return 0;
  }
};

TEST_F(SyntheticKeys, FailToTakeATargetThatTheDriverDoesNotShow) {
  const auto files = std::make_shared<DeafTree>(folder_.path().string());
  HwmonKeys keys(files, *platform::findSmcDriver(*files));
  ASSERT_EQ(writeOf(keys, "F0Md", {1}).reply.result, 0);
  EXPECT_EQ(writeOf(keys, "F0Tg", floatBytes(2500)).status, platform::kStatusTransferFailed);
  EXPECT_EQ(mode(keys), 1) << "it may have been taken";
  EXPECT_EQ(writeOf(keys, "F0Tg", floatBytes(0)).status, 0)
      << "automatic control has a target, too";
  EXPECT_EQ(mode(keys), 0);
}

TEST_F(SyntheticKeys, HandAFanBackByATargetOfZero) {
  const auto keys = newKeys();
  ASSERT_EQ(writeOf(*keys, "F0Md", {1}).reply.result, 0);
  ASSERT_EQ(writeOf(*keys, "F0Tg", floatBytes(2500)).reply.result, 0);
  EXPECT_EQ(writeOf(*keys, "F0Md", {0}).reply.result, 0);
  EXPECT_EQ(target().front(), '0');
  EXPECT_EQ(mode(*keys), 0);
}

TEST_F(SyntheticKeys, HandBackAFanThatAnotherProcessHasForced) {
  folder_.write(kTarget, "2500");
  EXPECT_EQ(writeOf(*newKeys(), "F0Md", {0}).reply.result, 0);
  EXPECT_EQ(target().front(), '0');
}

// Deliberate: whoever looks whether a fan can be commanded writes back what it holds.
TEST_F(SyntheticKeys, DeliberatelyTakeNoTargetThatWasNotAnnounced) {
  const auto keys = newKeys();
  EXPECT_EQ(writeOf(*keys, "F0Tg", floatBytes(1499)).reply.result, 0x86);
  EXPECT_EQ(writeOf(*keys, "F0Tg", floatBytes(2500)).reply.result, 0x86);
  EXPECT_EQ(target(), "1499");
  EXPECT_EQ(mode(*keys), 0);
}

TEST_F(SyntheticKeys, TakeNoOtherWrites) {
  const auto keys = newKeys();
  ASSERT_EQ(writeOf(*keys, "F0Md", {1}).reply.result, 0);
  EXPECT_EQ(writeOf(*keys, "F0Md", {2}).reply.result, 0x89);
  EXPECT_EQ(writeOf(*keys, "F0Tg", floatBytes(16384)).reply.result, 0x89);
  EXPECT_EQ(writeOf(*keys, "F0Tg", floatBytes(-1)).reply.result, 0x89);
  EXPECT_EQ(
      writeOf(*keys, "F0Tg", floatBytes(std::numeric_limits<float>::quiet_NaN())).reply.result,
      0x89);
  EXPECT_EQ(writeOf(*keys, "F0Tg", {0, 0}).reply.result, 0x87);
  EXPECT_EQ(writeOf(*keys, "F0Mn", floatBytes(2000)).reply.result, 0x86);
  EXPECT_EQ(writeOf(*keys, "TCHP", floatBytes(0)).reply.result, 0x86);
  EXPECT_EQ(writeOf(*keys, "FNum", {0}).reply.result, 0x86);
  EXPECT_EQ(writeOf(*keys, "F1Tg", floatBytes(2000)).reply.result, 0x84);
  EXPECT_EQ(target(), "1499");
}

TEST_F(SyntheticKeys, AreNotWritableWhereTheDriverLetsNobodyWrite) {
  ASSERT_EQ(chmod(folder_.file(kTarget).c_str(), 0444), 0);
  const auto keys = newKeys();
  EXPECT_EQ(writeOf(*keys, "F0Md", {1}).reply.result, 0x86);
  EXPECT_EQ(writeOf(*keys, "F0Tg", floatBytes(2500)).reply.result, 0x86);
  EXPECT_EQ(mode(*keys), 0);
  EXPECT_EQ(target(), "1499");
}

TEST_F(SyntheticKeys, FailToHandAFanBackThatTheDriverKeeps) {
  folder_.write(kTarget, "2500");
  ASSERT_EQ(chmod(folder_.file(kTarget).c_str(), 0444), 0);
  EXPECT_EQ(writeOf(*newKeys(), "F0Md", {0}).status, platform::kStatusTransferFailed)
      << "whoever has forced it";
  ASSERT_EQ(chmod(folder_.file(kTarget).c_str(), 0644), 0);
  folder_.write(kTarget, "0\n");
  ASSERT_EQ(chmod(folder_.file(kTarget).c_str(), 0444), 0);
  EXPECT_EQ(writeOf(*newKeys(), "F0Md", {0}).reply.result, 0x86) << "nobody has";
}

TEST_F(SyntheticKeys, ShowAFanForcedUntilItsHandBackIsTaken) {
  const auto keys = newKeys();
  ASSERT_EQ(writeOf(*keys, "F0Md", {1}).reply.result, 0);
  ASSERT_EQ(writeOf(*keys, "F0Tg", floatBytes(2500)).reply.result, 0);
  ASSERT_EQ(chmod(folder_.file(kTarget).c_str(), 0444), 0);
  EXPECT_NE(writeOf(*keys, "F0Md", {0}).status, 0);
  EXPECT_EQ(mode(*keys), 1);
}

TEST_F(SyntheticKeys, HandAFanBackThoughTheDriverWasLoadedAgainUnderAnotherNumber) {
  const std::filesystem::path monitors = folder_.path() / "sys/devices/smc/hwmon";
  std::filesystem::create_directories(monitors);
  std::filesystem::rename(folder_.path() / kAppleSiliconMonitor / "", monitors / "hwmon1");
  HwmonKeys keys(std::make_shared<platform::DiskTree>(folder_.path().string()),
                 {platform::SmcDriver::Kind::macsmcHwmon, "/sys/devices/smc/hwmon/hwmon1",
                  "/sys/devices/smc"});
  ASSERT_EQ(writeOf(keys, "F0Md", {1}).reply.result, 0);
  ASSERT_EQ(writeOf(keys, "F0Tg", floatBytes(2500)).reply.result, 0);
  std::filesystem::rename(monitors / "hwmon1", monitors / "hwmon6");
  EXPECT_TRUE(keys.isPresent());
  EXPECT_EQ(reading(keys, "TCHP"), 41.25F);
  EXPECT_EQ(writeOf(keys, "F0Md", {0}).status, 0);
  EXPECT_EQ(fileText(monitors / "hwmon6/fan1_target").front(), '0');
  EXPECT_EQ(mode(keys), 0);
}

TEST_F(SyntheticKeys, DoNotWriteToAnotherChipsFan) {
  const auto keys = newKeys();
  ASSERT_EQ(writeOf(*keys, "F0Md", {1}).reply.result, 0);
  folder_.write(kAppleSiliconMonitor + std::string("name"), "amdgpu\n");
  EXPECT_EQ(writeOf(*keys, "F0Tg", floatBytes(2500)).status, kNoDevice);
  EXPECT_EQ(writeOf(*keys, "F0Md", {0}).status, kNoDevice);
  EXPECT_EQ(readOf(*keys, "TCHP", 4).status, kNoDevice);
  EXPECT_EQ(target(), "1499");
}

TEST_F(SyntheticKeys, AreThereAsLongAsTheDriverIs) {
  const auto keys = newKeys();
  EXPECT_TRUE(keys->isPresent());
  EXPECT_EQ(keys->access(), 0);
  folder_.write(kAppleSiliconMonitor + std::string("name"), "amdgpu\n");
  EXPECT_FALSE(keys->isPresent()) << "its number is another's";
  std::filesystem::remove_all(folder_.path() / "sys");
  EXPECT_FALSE(keys->isPresent());
  EXPECT_EQ(readOf(*keys, "TCHP", 4).status, kNoDevice);
  EXPECT_EQ(keys->answer(requestOf(static_cast<platform::Command>(7), "TCHP")).reply.result, 0x82);
}

}  // namespace
}  // namespace halvarin::test
