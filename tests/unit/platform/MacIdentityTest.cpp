#include "platform/machine/linux/MacIdentity.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "platform/machine/linux/DiskTree.h"
#include "tests/support/SharedData.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {
namespace {

using platform::DeviceTreeName;
using platform::DiskTree;
using platform::modelIdentifier;
using platform::processorName;

class MacIdentity : public testing::Test {
 protected:
  void writeCompatible(const std::string& text) {
    folder_.write("proc/device-tree/compatible", text);
  }

  const TemporaryFolder folder_;
  DiskTree tree_{folder_.path().string()};
};

TEST_F(MacIdentity, IsNothingWhereNothingTellsIt) {
  EXPECT_EQ(modelIdentifier(tree_), "");
  EXPECT_EQ(processorName(tree_), "");
}

TEST_F(MacIdentity, OfAnIntelMacIsWhatTheFirmwareSays) {
  folder_.write("sys/class/dmi/id/product_name", "MacBookPro15,1\n");
  folder_.write("proc/cpuinfo",
                "processor\t: 0\nmodel\t\t: 158\n"
                "model name\t: Intel(R) Core(TM) i7-8850H CPU @ 2.60GHz\n"
                "processor\t: 1\nmodel name\t: another\n");
  EXPECT_EQ(modelIdentifier(tree_), "MacBookPro15,1");
  EXPECT_EQ(processorName(tree_), "Intel(R) Core(TM) i7-8850H CPU @ 2.60GHz");
}

TEST_F(MacIdentity, OfAppleSiliconComesFromTheDeviceTree) {
  writeCompatible(std::string("apple,j293\0apple,t8103\0apple,arm-platform\0", 42));
  folder_.write("proc/cpuinfo", "processor\t: 0\nCPU implementer\t: 0x61\n");
  EXPECT_EQ(modelIdentifier(tree_), "MacBookPro17,1");
  EXPECT_EQ(processorName(tree_), "Apple M1");
}

TEST_F(MacIdentity, OfAppleSiliconIsNotWhatItsBootLoaderSays) {
  // A boot loader may hand out firmware tables that know nothing of the Mac.
  writeCompatible(std::string("apple,j293\0apple,t8103\0apple,arm-platform\0", 42));
  folder_.write("sys/class/dmi/id/product_name", "Unknown Product\n");
  EXPECT_EQ(modelIdentifier(tree_), "MacBookPro17,1");
  writeCompatible(std::string("virtual,board\0", 14));
  EXPECT_EQ(modelIdentifier(tree_), "Unknown Product");
}

TEST_F(MacIdentity, OfAnUnknownBoardIsItsNameInTheDeviceTree) {
  writeCompatible(std::string("apple,j999\0apple,t9999\0", 23));
  EXPECT_EQ(modelIdentifier(tree_), "apple,j999");
  EXPECT_EQ(processorName(tree_), "apple,t9999");
  writeCompatible(std::string("raspberrypi,j293\0brcm,t8103\0", 28));
  EXPECT_EQ(modelIdentifier(tree_), "raspberrypi,j293");
}

TEST_F(MacIdentity, IsNotMisledByOddFiles) {
  folder_.write("sys/class/dmi/id/product_name", " \n");
  EXPECT_EQ(modelIdentifier(tree_), "");
  folder_.write("sys/class/dmi/id/product_name", "Mac\xFF\xFE\n");
  EXPECT_EQ(modelIdentifier(tree_), "");
  folder_.write("sys/class/dmi/id/product_name", std::string(1 << 20U, 'M'));
  writeCompatible("apple,j313");
  EXPECT_EQ(modelIdentifier(tree_), "MacBookAir10,1");
  EXPECT_EQ(processorName(tree_), "");
  writeCompatible(std::string(3, '\0'));
  EXPECT_EQ(modelIdentifier(tree_), "");
  folder_.write("proc/cpuinfo", std::string(1 << 20U, '\n'));
  EXPECT_EQ(processorName(tree_), "");
}

TEST_F(MacIdentity, ListsEachNameOnce) {
  std::set<std::string_view> names;
  for (const auto* known : {&platform::knownBoards(), &platform::knownChips()}) {
    for (const DeviceTreeName& each : *known) {
      EXPECT_TRUE(names.insert(each.name).second) << each.name;
    }
  }
}

TEST_F(MacIdentity, KnowsOnlyIdentifiersAndChipsThatExist) {
  const auto rows = tableRows(sharedData() / "data" / "models.tsv");
  if (rows.empty()) {
    GTEST_SKIP() << "no facts about models beside the checkout";
  }
  std::map<std::string_view, std::string> chips;
  std::set<std::string> allChips;
  for (const auto& row : rows) {
    chips[row.at("model")] = row.at("chip");
    allChips.insert("Apple " + row.at("chip"));
  }
  for (const DeviceTreeName& board : platform::knownBoards()) {
    const std::string chip = chips[board.meaning];
    ASSERT_NE(chip, "") << board.meaning;
    // The board's last letter tells the size of its chip.
    const char size = board.name.back();
    const char* ending = size == 's' ? " Pro" : size == 'c' ? " Max" : size == 'd' ? " Ultra" : "";
    EXPECT_EQ(chip.substr(std::min<std::size_t>(chip.size(), 2)), ending) << board.name;
  }
  for (const DeviceTreeName& chip : platform::knownChips()) {
    EXPECT_EQ(allChips.count(std::string(chip.meaning)), 1U) << chip.meaning;
  }
}

}  // namespace
}  // namespace halvarin::test
