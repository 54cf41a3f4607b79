#include "platform/machine/linux/FanFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "platform/machine/linux/DiskTree.h"
#include "tests/support/FanMachines.h"
#include "tests/support/SharedData.h"
#include "tests/unit/platform/DriverBench.h"

namespace halvarin::test {
namespace {

using platform::FanFiles;
using Names = DriverScript::Names;
using testing::ElementsAre;
using testing::IsEmpty;

/// Two fans of a driver.
class FanBench {
 public:
  explicit FanBench(Names names, std::set<std::string> denied = {})
      : bench_(fanMachine(FanStyle::forceBits), {names, {}, std::move(denied), false}) {}

  FanFiles files() const { return {bench_.driver(), bench_.found()}; }
  ScriptedDriver& driver() const { return *bench_.driver(); }

 private:
  DriverBench bench_;
};

TEST(FanFiles, HaveTheNamesOfOlderKernels) {
  const FanBench bench(Names::older);
  FanFiles files = bench.files();
  EXPECT_EQ(files.setForced(1, true), 0);
  EXPECT_EQ(files.setTarget(1, 2500.75), 0);
  EXPECT_EQ(files.setMinimum(0, 1300), 0);
  EXPECT_EQ(files.setForced(1, false), 0);
  EXPECT_THAT(bench.driver().writes(),
              ElementsAre("fan2_manual 1", "fan2_output 2500", "fan1_min 1300", "fan2_manual 0"));
}

TEST(FanFiles, HaveTheNamesOfNewerKernels) {
  const FanBench bench(Names::newer);
  FanFiles files = bench.files();
  EXPECT_EQ(files.setForced(0, true), 0);
  EXPECT_EQ(files.setTarget(0, 2500), 0);
  EXPECT_EQ(files.setMinimum(1, 1300), 0);
  EXPECT_EQ(files.setForced(0, false), 0);
  EXPECT_THAT(bench.driver().writes(),
              ElementsAre("pwm1_enable 1", "fan1_target 2500", "fan2_min 1300", "pwm1_enable 2"));
}

TEST(FanFiles, AreNotWrittenWhereTheNamesOfBothAreThere) {
  const FanBench bench(Names::both);
  FanFiles files = bench.files();
  EXPECT_EQ(files.setForced(0, true), ENOTSUP);
  EXPECT_EQ(files.setForced(0, false), ENOTSUP);
  EXPECT_EQ(files.setTarget(0, 2500), ENOTSUP);
  EXPECT_EQ(files.setMinimum(0, 1300), ENOTSUP);
  EXPECT_EQ(files.setForceBits(1, std::nullopt), ENOTSUP);
  EXPECT_EQ(files.setForceBits(0, std::nullopt), ENOTSUP);
  EXPECT_THAT(bench.driver().writes(), IsEmpty());
}

TEST(FanFiles, AreNotWrittenForAFanThatIsNotThere) {
  for (const Names names : {Names::older, Names::newer}) {
    const FanBench bench(names);
    FanFiles files = bench.files();
    EXPECT_EQ(files.setForced(2, true), ENOTSUP);
    EXPECT_EQ(files.setTarget(2, 2500), ENOTSUP);
    EXPECT_EQ(files.setMinimum(2, 1300), ENOTSUP);
    EXPECT_EQ(files.setForceBits(0x0005, std::nullopt), ENOTSUP);
    EXPECT_EQ(files.setForceBits(0x8000, std::nullopt), ENOTSUP);
    EXPECT_THAT(bench.driver().writes(), IsEmpty());
  }
}

TEST(FanFiles, AreWrittenOnlyForForceBitsThatDiffer) {
  for (const Names names : {Names::older, Names::newer}) {
    const bool isOlder = names == Names::older;
    const FanBench bench(names);
    FanFiles files = bench.files();
    bench.driver().setForced(0, true);
    EXPECT_EQ(files.setForceBits(0x0001, std::nullopt), 0);
    EXPECT_THAT(bench.driver().writes(), IsEmpty());
    EXPECT_EQ(files.setForceBits(0x0003, std::nullopt), 0);
    EXPECT_EQ(files.setForceBits(0x0002, std::nullopt), 0);
    EXPECT_THAT(bench.driver().writes(), ElementsAre(isOlder ? "fan2_manual 1" : "pwm2_enable 1",
                                                     isOlder ? "fan1_manual 0" : "pwm1_enable 2"));
    EXPECT_EQ(files.setForceBits(0, std::nullopt), 0);
    EXPECT_EQ(bench.driver().writes().size(), 3U);
  }
}

TEST(FanFiles, AreWrittenOnlyForBitsThatAreOthersThanWhenTheWriterReadThem) {
  for (const Names names : {Names::older, Names::newer}) {
    const FanBench bench(names);
    bench.driver().setForced(1, true);
    EXPECT_EQ(bench.files().setForceBits(0x0001, 0x0001), EREMOTEIO) << "nothing is forced";
    EXPECT_EQ(bench.files().setForceBits(0, 0), EREMOTEIO) << "a fan is forced";
    EXPECT_EQ(bench.files().setForceBits(0x0002, 0x0002), 0);
    EXPECT_THAT(bench.driver().writes(), IsEmpty());
    EXPECT_EQ(bench.files().setForceBits(0x0001, 0x0000), 0);
    EXPECT_THAT(bench.driver().writes(),
                ElementsAre(names == Names::older ? "fan1_manual 1" : "pwm1_enable 1"));
  }
}

TEST(FanFiles, AreDeliberatelyNotForcedByAWriteThatHandsAnotherFanBack) {
  for (const auto before : {std::optional<std::uint32_t>(0x0001), std::optional<std::uint32_t>()}) {
    const FanBench bench(Names::older);
    bench.driver().setForced(0, true);
    EXPECT_EQ(bench.files().setForceBits(0x0002, before), EREMOTEIO);
    EXPECT_THAT(bench.driver().writes(), ElementsAre("fan1_manual 0"));
    EXPECT_EQ(bench.files().setForceBits(0x0002, 0), 0);
    EXPECT_EQ(bench.driver().writes().back(), "fan2_manual 1");
  }
  const FanBench bench(Names::older);
  bench.driver().setForced(1, true);
  EXPECT_EQ(bench.files().setForceBits(0x0002, 0x0001), 0) << "it is forced already";
}

TEST(FanFiles, HandFansBackBesideABitOfNoFan) {
  const FanBench bench(Names::older);
  bench.driver().setForced(0, true);
  EXPECT_EQ(bench.files().setForceBits(0x8000, std::nullopt), ENOTSUP);
  EXPECT_EQ(bench.files().setForceBits(0x8000, 0x8001), 0) << "the bit was set before";
  EXPECT_EQ(bench.files().setForceBits(0x0002, 0x8001), ENOTSUP);
  EXPECT_THAT(bench.driver().writes(),
              ElementsAre("fan1_manual 0", "fan1_manual 0", "fan1_manual 0"));
}

TEST(FanFiles, TakeSpeedsOf14Bits) {
  const FanBench bench(Names::older);
  FanFiles files = bench.files();
  EXPECT_EQ(files.setTarget(0, 0), 0);
  EXPECT_EQ(files.setTarget(0, 16383.9), 0);
  for (const double rpm :
       {16384.0, -1.0, 1e300, std::nan(""), std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(files.setTarget(0, rpm), EINVAL) << rpm;
  }
  EXPECT_THAT(bench.driver().writes(), ElementsAre("fan1_output 0", "fan1_output 16383"));
}

TEST(FanFiles, SayWhatThisUserMayNotWrite) {
  const FanBench bench(Names::older, {"fan1_manual", "fan1_output"});
  FanFiles files = bench.files();
  EXPECT_EQ(files.setForced(0, true), EACCES);
  EXPECT_EQ(files.setTarget(0, 2500), EACCES);
  EXPECT_EQ(files.setForceBits(1, std::nullopt), EACCES);
  EXPECT_EQ(files.setForceBits(0, std::nullopt), 0) << "the other fan may be meant";
  const FanBench closed(Names::older, {"fan1_manual", "fan2_manual"});
  EXPECT_EQ(closed.files().setForceBits(0, std::nullopt), EACCES)
      << "though nothing would have to be written";
}

TEST(FanFiles, HandTheOtherFansBackThoughOneCannotBeWritten) {
  const FanBench bench(Names::older, {"fan1_manual"});
  bench.driver().setForced(0, true);
  bench.driver().setForced(1, true);
  EXPECT_EQ(bench.files().setForceBits(0, std::nullopt), EACCES);
  EXPECT_THAT(bench.driver().writes(), ElementsAre("fan2_manual 0"));
}

/// The driver's files as a plain folder.
class PlainFans : public testing::Test {
 protected:
  FanFiles files(const std::string& folder) {
    return {std::make_shared<platform::DiskTree>(folder_.path().string()), {{}, folder, ""}};
  }
  const TemporaryFolder folder_;
};

TEST_F(PlainFans, AreWrittenAsTheKernelWantsIt) {
  folder_.write("smc/fan1_manual", "0\n");
  folder_.write("smc/fan1_output", "1200\n");
  folder_.write("smc/temp1_input", "40000\n");
  // A plain file keeps the rest of the longer line that it held: it does not show what was written.
  EXPECT_EQ(files("/smc").setForced(0, true), 0);
  EXPECT_EQ(files("/smc").setTarget(0, 999), EREMOTEIO);
  EXPECT_EQ(fileText(folder_.path() / "smc/fan1_manual"), "1\n");
  EXPECT_EQ(fileText(folder_.path() / "smc/fan1_output"), "9990\n");
}

TEST_F(PlainFans, AreNotWrittenWhenNobodyMay) {
  folder_.write("smc/fan1_target", "1200\n");
  ASSERT_EQ(chmod(folder_.file("smc/fan1_target").c_str(), 0444), 0);
  EXPECT_EQ(files("/smc").setTarget(0, 2500), EROFS);
  EXPECT_EQ(fileText(folder_.path() / "smc/fan1_target"), "1200\n");
}

TEST_F(PlainFans, AreNotWrittenThroughAnythingOdd) {
  std::filesystem::create_directories(folder_.path() / "smc/fan1_manual");
  folder_.write("elsewhere", "0\n");
  ASSERT_EQ(symlink("../elsewhere", folder_.file("smc/fan1_output").c_str()), 0);
  ASSERT_EQ(mkfifo(folder_.file("smc/fan1_min").c_str(), 0666), 0);
  EXPECT_NE(files("/smc").setForced(0, true), 0);
  EXPECT_NE(files("/smc").setTarget(0, 2500), 0);
  EXPECT_NE(files("/smc").setMinimum(0, 2500), 0);
  EXPECT_EQ(fileText(folder_.path() / "elsewhere"), "0\n");
}

TEST_F(PlainFans, AreNoneInAnEmptyFolder) {
  std::filesystem::create_directories(folder_.path() / "smc");
  for (const char* folder : {"/smc", "/missing", ""}) {
    EXPECT_EQ(files(folder).setForced(0, false), ENOTSUP);
    EXPECT_EQ(files(folder).setForceBits(0, std::nullopt), ENOTSUP);
    EXPECT_EQ(files(folder).setTarget(0, 1), ENOTSUP);
    EXPECT_EQ(files(folder).setMinimum(0, 1), ENOTSUP);
  }
}

}  // namespace
}  // namespace halvarin::test
