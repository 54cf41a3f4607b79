// Where kernels have put the driver's files over the years.

#include "platform/machine/linux/SmcDriver.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/machine/linux/DiskTree.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/unit/platform/OtherTree.h"

namespace halvarin::test {
namespace {

using platform::DiskTree;
using platform::findSmcDriver;
using platform::SmcDriver;

constexpr const char* kMonitor = "/sys/class/hwmon/hwmon2";

class DriverTree : public testing::Test {
 protected:
  /// A monitor whose device is the folder `device` of the tree, as sysfs links them.
  void addMonitor(const std::string& number, const std::string& device) {
    const std::filesystem::path monitor = folder_.path() / "sys/class/hwmon" / ("hwmon" + number);
    std::filesystem::create_directories(monitor);
    std::filesystem::create_directories(folder_.path() / device);
    std::filesystem::create_directory_symlink("../../../../" + device, monitor / "device");
  }

  const TemporaryFolder folder_;
  DiskTree tree_{folder_.path().string()};
};

TEST_F(DriverTree, HasNoDriverWhenNothingStatesItsName) {
  EXPECT_FALSE(findSmcDriver(tree_));
  folder_.write("sys/class/hwmon/hwmon0/name", "coretemp\n");
  std::filesystem::create_directories(folder_.path() / "sys/class/hwmon/hwmon1");
  EXPECT_FALSE(findSmcDriver(tree_));
}

TEST_F(DriverTree, HasTheOlderLayoutWithEverythingAtTheDevice) {
  addMonitor("2", "sys/devices/platform/applesmc.768");
  folder_.write("sys/devices/platform/applesmc.768/name", "applesmc\n");
  folder_.write("sys/devices/platform/applesmc.768/key_count", "4\n");
  folder_.write("sys/devices/platform/applesmc.768/fan1_manual", "0\n");
  const auto driver = findSmcDriver(tree_);
  ASSERT_TRUE(driver);
  EXPECT_EQ(driver->kind, SmcDriver::Kind::applesmc);
  EXPECT_EQ(driver->hwmonFolder, kMonitor);
  EXPECT_EQ(driver->deviceFolder, "/sys/devices/platform/applesmc.768");
  EXPECT_EQ(driverFile(tree_, *driver, "fan1_manual"),
            "/sys/devices/platform/applesmc.768/fan1_manual");
  EXPECT_EQ(driverFile(tree_, *driver, "fan2_manual"), "");
}

TEST_F(DriverTree, HasTheNewerLayoutWithFansAtTheMonitor) {
  addMonitor("2", "sys/devices/platform/applesmc.768");
  folder_.write("sys/class/hwmon/hwmon2/name", "applesmc\n");
  folder_.write("sys/class/hwmon/hwmon2/fan1_target", "1200\n");
  folder_.write("sys/devices/platform/applesmc.768/key_count", "4\n");
  const auto driver = findSmcDriver(tree_);
  ASSERT_TRUE(driver);
  EXPECT_EQ(driverFile(tree_, *driver, "fan1_target"), kMonitor + std::string("/fan1_target"));
  EXPECT_EQ(driverFile(tree_, *driver, "key_count"),
            "/sys/devices/platform/applesmc.768/key_count");
}

TEST_F(DriverTree, HasTheDeviceOfMachinesWithASecondProcessor) {
  addMonitor("2", "sys/devices/LNXSYSTM:00/APP0001:00");
  folder_.write("sys/devices/LNXSYSTM:00/APP0001:00/name", "applesmc\n");
  const auto driver = findSmcDriver(tree_);
  ASSERT_TRUE(driver);
  EXPECT_EQ(driver->deviceFolder, "/sys/devices/LNXSYSTM:00/APP0001:00");
}

TEST_F(DriverTree, HasWhatLiesAtTheMonitorBeforeWhatLiesAtTheDevice) {
  addMonitor("2", "sys/devices/smc");
  folder_.write("sys/class/hwmon/hwmon2/name", "applesmc\n");
  folder_.write("sys/class/hwmon/hwmon2/fan1_min", "1\n");
  folder_.write("sys/devices/smc/fan1_min", "2\n");
  EXPECT_EQ(driverFile(tree_, *findSmcDriver(tree_), "fan1_min"),
            kMonitor + std::string("/fan1_min"));
}

TEST_F(DriverTree, HasADriverWithoutADeviceBehindIt) {
  folder_.write("sys/class/hwmon/hwmon2/name", "applesmc");
  const auto driver = findSmcDriver(tree_);
  ASSERT_TRUE(driver);
  EXPECT_EQ(driver->deviceFolder, "");
  EXPECT_EQ(driverFile(tree_, *driver, "key_count"), "");
}

TEST_F(DriverTree, HasTheDriverOfAppleSiliconBehindThatWithAllKeys) {
  folder_.write("sys/class/hwmon/hwmon1/name", "macsmc_hwmon\n");
  EXPECT_EQ(findSmcDriver(tree_)->kind, SmcDriver::Kind::macsmcHwmon);
  folder_.write("sys/class/hwmon/hwmon9/name", "applesmc\n");
  EXPECT_EQ(findSmcDriver(tree_)->kind, SmcDriver::Kind::applesmc);
}

TEST_F(DriverTree, NamesNoOtherMonitorThatHasGotTheNumberOfTheDrivers) {
  folder_.write("sys/devices/smc/hwmon/hwmon2/name", "applesmc\n");
  folder_.write("sys/devices/smc/hwmon/hwmon2/pwm1_enable", "2\n");
  folder_.write("sys/devices/gpu/hwmon/hwmon2/name", "amdgpu\n");
  folder_.write("sys/devices/gpu/hwmon/hwmon2/pwm1_enable", "2\n");
  const std::filesystem::path link = folder_.path() / "sys/class/hwmon/hwmon2";
  std::filesystem::create_directories(link.parent_path());
  std::filesystem::create_directory_symlink("../../devices/smc/hwmon/hwmon2", link);
  const auto driver = findSmcDriver(tree_);
  ASSERT_TRUE(driver);
  EXPECT_EQ(driver->hwmonFolder, "/sys/devices/smc/hwmon/hwmon2");
  EXPECT_TRUE(isStillThere(tree_, *driver));
  std::filesystem::remove(link);
  std::filesystem::remove_all(folder_.path() / "sys/devices/smc");
  std::filesystem::create_directory_symlink("../../devices/gpu/hwmon/hwmon2", link);
  EXPECT_EQ(driverFile(tree_, *driver, "pwm1_enable"), "");
  EXPECT_FALSE(isStillThere(tree_, *driver));
}

TEST_F(DriverTree, IsNoLongerTheDriversWhenItStatesAnotherName) {
  folder_.write("sys/class/hwmon/hwmon2/name", "applesmc\n");
  const auto driver = findSmcDriver(tree_);
  ASSERT_TRUE(driver);
  for (const char* other : {"amdgpu\n", "macsmc_hwmon\n", ""}) {
    folder_.write("sys/class/hwmon/hwmon2/name", other);
    EXPECT_FALSE(isStillThere(tree_, *driver)) << other;
  }
}

/// Its files have an error for the moment.
class FailingTree : public OtherTree {
 public:
  using OtherTree::OtherTree;
  [[nodiscard]] platform::FileContent read(const std::string& path, std::size_t most) override {
    return error == 0 ? OtherTree::read(path, most) : platform::FileContent{error, {}};
  }
  int error = 0;
};

TEST_F(DriverTree, IsStillTheDriversWhileItsNameCannotBeReadForWantOfResources) {
  folder_.write("sys/class/hwmon/hwmon2/name", "applesmc\n");
  FailingTree tree(std::make_shared<DiskTree>(folder_.path().string()));
  const auto driver = findSmcDriver(tree);
  ASSERT_TRUE(driver);
  for (const int error : {EMFILE, ENFILE, ENOMEM, EINTR}) {
    tree.error = error;
    EXPECT_TRUE(isStillThere(tree, *driver)) << error;
    SmcDriver now;
    EXPECT_EQ(locate(tree, *driver, now), error) << "but nothing is written there";
  }
  for (const int error : {ENOENT, ENOTDIR, ENODEV}) {
    tree.error = error;
    EXPECT_FALSE(isStillThere(tree, *driver)) << error;
  }
}

TEST_F(DriverTree, IsFoundUnderTheNumberThatItHasGotByBeingLoadedAgain) {
  for (const bool isOlder : {false, true}) {
    const std::string device = isOlder ? "sys/devices/old" : "sys/devices/new";
    const std::string name = isOlder ? "/name" : "/hwmon/hwmon4/name";
    const auto monitor = [&](const std::string& number) {
      std::filesystem::create_directories(folder_.path() / device / "hwmon" / number);
      std::filesystem::create_directory_symlink(
          "../..", folder_.path() / device / "hwmon" / number / "device");
    };
    monitor("hwmon4");
    folder_.write(device + name, "applesmc\n");
    const SmcDriver driver{{}, "/" + device + "/hwmon/hwmon2", "/" + device};
    SmcDriver now;
    EXPECT_TRUE(isStillThere(tree_, driver));
    ASSERT_EQ(locate(tree_, driver, now), 0);
    EXPECT_EQ(now.hwmonFolder, "/" + device + "/hwmon/hwmon4");
    EXPECT_EQ(now.deviceFolder, driver.deviceFolder);
    folder_.write(device + name, "amdgpu\n");
    EXPECT_EQ(locate(tree_, driver, now), ENODEV);
  }
}

TEST_F(DriverTree, IsNotMisledByOddFiles) {
  folder_.write("sys/class/hwmon/hwmon0/name", std::string(100000, 'x'));
  folder_.write("sys/class/hwmon/hwmon1/name", "");
  folder_.write("sys/class/hwmon/hwmon3/name/folder", "");
  folder_.write("sys/class/hwmon/hwmon4/name", "applesmc2\n");
  folder_.write("sys/class/hwmon/hwmon5/name", "\xFF\xFE\n");
  folder_.write("sys/class/hwmon/hwmon6", "a file\n");
  std::filesystem::create_directories(folder_.path() / "sys/class/hwmon/hwmon7");
  ASSERT_EQ(mkfifo(folder_.file("sys/class/hwmon/hwmon7/name").c_str(), 0666), 0);
  EXPECT_FALSE(findSmcDriver(tree_));
}

TEST_F(DriverTree, ReadsLinesWithoutTheirLineEndAndKeepsBlanks) {
  folder_.write("line", "FS! \n");
  folder_.write("bare", "7");
  folder_.write("huge", std::string(4096, '7'));
  EXPECT_EQ(lineOf(tree_, "/line"), "FS! ");
  EXPECT_EQ(lineOf(tree_, "/bare"), "7");
  EXPECT_EQ(lineOf(tree_, "/huge"), std::nullopt);
  EXPECT_EQ(lineOf(tree_, "/missing"), std::nullopt);
}

}  // namespace
}  // namespace halvarin::test
