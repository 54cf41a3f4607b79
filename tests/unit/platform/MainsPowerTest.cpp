#include "platform/machine/linux/MainsPower.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "platform/machine/linux/DiskTree.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {
namespace {

class MainsPower : public testing::Test {
 protected:
  void addSupply(const std::string& name, const std::string& type, const std::string& online) {
    folder_.write("sys/class/power_supply/" + name + "/type", type + "\n");
    if (!online.empty()) {
      folder_.write("sys/class/power_supply/" + name + "/online", online + "\n");
    }
  }
  void addBattery(const std::string& name, const std::string& status, const std::string& scope) {
    addSupply(name, "Battery", "");
    folder_.write("sys/class/power_supply/" + name + "/status", status + "\n");
    folder_.write("sys/class/power_supply/" + name + "/scope", scope + "\n");
  }
  std::string source() { return powerSourceOf(tree_); }

  const TemporaryFolder folder_;
  platform::DiskTree tree_{folder_.path().string()};
};

TEST_F(MainsPower, FeedsAComputerWithoutAnySupplyToAsk) {
  EXPECT_EQ(source(), "AC Power");
}

TEST_F(MainsPower, FeedsALaptopWhoseAdapterIsOnline) {
  addSupply("ADP1", "Mains", "1");
  addBattery("BAT0", "Charging", "System");
  EXPECT_EQ(source(), "AC Power");
}

TEST_F(MainsPower, FeedsNoLaptopWhoseAdapterIsNotOnline) {
  addSupply("ADP1", "Mains", "0");
  EXPECT_EQ(source(), "Battery Power");
}

TEST_F(MainsPower, ComesThroughAnyAdapter) {
  addSupply("macsmc-ac", "Mains", "0");
  addSupply("other-ac", "Mains", "1");
  EXPECT_EQ(source(), "AC Power");
}

TEST_F(MainsPower, IsNotWhatTheChargerOfTheBatterysBusSays) {
  addSupply("ADP1", "Mains", "0");
  addSupply("sbs-charger", "Mains", "1");
  EXPECT_EQ(source(), "Battery Power");
}

TEST_F(MainsPower, FeedsADesktopWhoseMouseRunsOnABattery) {
  addBattery("hid-mouse-battery", "Discharging", "Device");
  EXPECT_EQ(source(), "AC Power");
}

TEST_F(MainsPower, FeedsNoLaptopThatHasNoAdapterToAskAndDischarges) {
  addBattery("BAT0", "Full", "System");
  EXPECT_EQ(source(), "AC Power");
  addBattery("BAT0", "Discharging", "System");
  EXPECT_EQ(source(), "Battery Power");
}

TEST_F(MainsPower, IsNotMisledByOddFiles) {
  addSupply("no-online", "Mains", "");
  folder_.write("sys/class/power_supply/file", "Mains");
  folder_.write("sys/class/power_supply/odd/type", std::string(1 << 20U, 'M'));
  folder_.write("sys/class/power_supply/usb/type", "USB\n");
  folder_.write("sys/class/power_supply/usb/online", "0\n");
  std::filesystem::create_directories(folder_.path() / "sys/class/power_supply/pipe");
  ASSERT_EQ(mkfifo(folder_.file("sys/class/power_supply/pipe/type").c_str(), 0666), 0);
  EXPECT_EQ(source(), "AC Power");
}

}  // namespace
}  // namespace halvarin::test
