#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/generated/TestPaths.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/SharedData.h"

namespace halvarin::test {
namespace {

namespace fs = std::filesystem;

/// A copy of the shipped tables that a test may damage.
class PackerTest : public testing::Test {
 protected:
  PackerTest() {
    std::string pattern = (fs::temp_directory_path() / "halvarin-pack-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    fs::copy(fs::path(HALVARIN_SOURCE_DIR) / "database/data", folder_ / "data",
             fs::copy_options::recursive);
  }
  ~PackerTest() override { fs::remove_all(folder_); }

  [[nodiscard]] ProgramRun pack() const {
    return runProgram(HALVARIN_PACKER,
                      {(folder_ / "data").string(), (folder_ / "container").string()});
  }

  fs::path folder_;
};

TEST_F(PackerTest, MakesTheSameContainerFromTheSameTables) {
  EXPECT_EQ(pack().exit, 0);
  const std::string first = fileText(folder_ / "container");
  EXPECT_EQ(pack().exit, 0);
  EXPECT_EQ(fileText(folder_ / "container"), first);
  EXPECT_EQ(first.size() % 16, 0U);
  EXPECT_GT(first.size(), 1063U);
}

TEST_F(PackerTest, BrokenRowStopsItWithFileLineAndReason) {
  std::ofstream(folder_ / "data/parts.tsv", std::ios::app)
      << "broken-part\tTemperature\toC\t50\t20\tno\tlimits the wrong way round\n";
  const ProgramRun run = pack();
  EXPECT_EQ(run.exit, 1);
  EXPECT_THAT(run.err, testing::ContainsRegex("parts.tsv:[0-9]+: the low limit 50 is above"));
  EXPECT_FALSE(fs::exists(folder_ / "container"));
}

TEST_F(PackerTest, MissingFolderOrTargetIsSaid) {
  EXPECT_EQ(runProgram(HALVARIN_PACKER, {"/no/such", "/no/such/container"}).exit, 1);
  const ProgramRun unwritable =
      runProgram(HALVARIN_PACKER, {(folder_ / "data").string(), "/no/such/container"});
  EXPECT_EQ(unwritable.exit, 1);
  EXPECT_THAT(unwritable.err, testing::HasSubstr("enData:toFile: failed to write"));
}

TEST_F(PackerTest, WrongNumberOfWordsIsAUsageError) {
  EXPECT_EQ(runProgram(HALVARIN_PACKER, {}).exit, 2);
}

}  // namespace
}  // namespace halvarin::test
