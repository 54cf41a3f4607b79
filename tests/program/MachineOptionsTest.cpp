#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/generated/TestPaths.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/SharedData.h"

namespace halvarin::test {
namespace {

using testing::HasSubstr;
using testing::Not;

struct BrokenRow {
  const char* file;
  const char* says;  // after the file's path
};

TEST(MachineFileOption, BadFilesEndWithExit3AndNameFileLineAndFault) {
  for (const BrokenRow& row :
       std::vector<BrokenRow>{{"missing.txt", ": cannot be read: No such file or directory"},
                              {"empty.txt", ": the file is empty"},
                              {"cut-line.txt", ":"},
                              {"bad-hex-digit.txt", ":"},
                              {"key-of-three.txt", ":5: a key has four characters"},
                              {"size-above-bytes.txt", ":"},
                              {"size-below-bytes.txt", ":"},
                              {"too-few-keys.txt", ":"},
                              {"too-many-keys.txt", ":"},
                              {"key-twice.txt", ":"}}) {
    SCOPED_TRACE(row.file);
    const std::string path = std::string("broken/") + row.file;
    const ProgramRun run = halvarinRun({"--machine", machineFile(path), "sensors"});
    EXPECT_EQ(run.exit, 3);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("tests/machines/broken/" + std::string(row.file) + row.says));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  }
}

TEST(MachineFileOption, EveryBrokenFileEndsWithExit3AndOneLine) {
  const auto folder = std::filesystem::path(HALVARIN_SOURCE_DIR) / "tests/machines/broken";
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    SCOPED_TRACE(entry.path());
    ++files;
    const ProgramRun run = halvarinRun({"--machine", "file:" + entry.path().string(), "keys"});
    EXPECT_EQ(run.exit, 3);
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  }
  EXPECT_GT(files, 15);
}

TEST(MachineFileOption, FolderIsNoMachineFile) {
  const ProgramRun run = halvarinRun({"--machine", machineFile("broken"), "keys"});
  EXPECT_EQ(run.exit, 3);
  EXPECT_THAT(run.err, HasSubstr("cannot be read: Is a directory"));
}

TEST(MachineFileOption, FileThatCannotBeReadToItsEndEndsWithExit3) {
  if (!std::filesystem::exists("/proc/self/mem")) {
    GTEST_SKIP() << "no file here opens and cannot be read";
  }
  const ProgramRun run = halvarinRun({"--machine", "file:/proc/self/mem", "keys"});
  EXPECT_EQ(run.exit, 3);
  EXPECT_THAT(run.err, HasSubstr("/proc/self/mem: cannot be read: "));
}

TEST(FaultOptionOnMachines, MachineWithoutKeysCanVanishAndItsCountCanFail) {
  for (const char* fault : {"vanish:1", "#KEY=error:84"}) {
    const ProgramRun run =
        halvarinRun({"--machine", machineFile("empty-list.txt"), "--fault", fault, "keys"});
    EXPECT_EQ(run.exit, 0) << fault << " " << run.err;
  }
}

TEST(MachineFileOption, LongModelTextIsSaidAndReadsAsNone) {
  const std::string path =
      (std::filesystem::temp_directory_path() / "halvarin-long-model-test.txt").string();
  std::ofstream(path) << "Model: " << std::string(25, 'M') << "\nPublic keys (0):\n";
  const ProgramRun run = halvarinRun({"--machine", "file:" + path, "sensors"});
  std::filesystem::remove(path);
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.err, HasSubstr("has more than 24 characters and reads as none; add a line "
                                 "\"Model: ...\" to " +
                                 path));
  EXPECT_THAT(run.out, HasSubstr("Machine: unknown model (recorded)"));
}

TEST(JournalOption, HoldsALineForEveryCall) {
  const std::string path =
      (std::filesystem::temp_directory_path() / "halvarin-journal-test.txt").string();
  EXPECT_EQ(halvarinRun({"--machine", machineFile("healthy.txt"), "--journal", path, "keys"}).exit,
            0);
  const std::string journal = fileText(path);
  std::filesystem::remove(path);
  EXPECT_EQ(journal.rfind("open type 0 -> connection 1\ncall 1 info #KEY -> ui32 4\n", 0), 0U);
  // One open, two transfers for the count, two per key to list it and one to read it.
  EXPECT_EQ(std::count(journal.begin(), journal.end(), '\n'), 1 + 2 + 3 * 21);
}

TEST(LatencyOption, IsTakenInEveryUnit) {
  for (const char* time : {"100ns", "1us", "0.001ms", "0s"}) {
    EXPECT_EQ(
        halvarinRun({"--machine", machineFile("healthy.txt"), "--latency", time, "keys"}).exit, 0)
        << time;
  }
}

TEST(MachineOption, BuiltInMachineCanBeNamed) {
  const auto overview = [](const char* machine) {
    return halvarinRun({"--machine", machine, "sensors", "fans"});
  };
  for (const char* model : {"MacBookPro16,1", "MacBookPro18,1"}) {
    const ProgramRun run = overview((std::string("simulated:") + model).c_str());
    EXPECT_EQ(run.exit, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("Machine: " + std::string(model) + " (simulated), AC Power\n"));
  }
  EXPECT_THAT(overview("simulated").out, HasSubstr("Machine: MacBookPro16,1 (simulated)"));
}

TEST(MachineOption, BuiltInMachineOfAModelIsDumpedAsItsFile) {
  const ProgramRun run =
      halvarinRun({"--machine", "simulated:MacBookPro18,1", "--clock", "0", "keys", "--dump"});
  EXPECT_EQ(run.exit, 0) << run.err;
  EXPECT_EQ(run.out,
            fileText(HALVARIN_SOURCE_DIR "/platform/machine/builtin/laptop-apple-silicon.txt"));
}

TEST(FaultOptionOnMachines, StalledFanReads0) {
  const ProgramRun healthy =
      halvarinRun({"--machine", "simulated", "--clock", "0", "keys", "F?Ac"});
  EXPECT_EQ(healthy.exit, 0) << healthy.err;
  EXPECT_THAT(healthy.out, HasSubstr("EC850045"));
  const ProgramRun run = halvarinRun(
      {"--machine", "simulated", "--clock", "0", "--fault", "fan:0=stalled", "keys", "F?Ac"});
  EXPECT_EQ(run.exit, 0) << run.err;
  EXPECT_THAT(run.out, Not(HasSubstr("EC850045")));
  EXPECT_THAT(run.out, HasSubstr("D773EE44"));
  EXPECT_THAT(run.out, HasSubstr("00000000"));
}

TEST(FaultOptionOnMachines, EveryFaultOfAFanIsTaken) {
  for (const char* fault : {"fan:1=stalled", "fan:1=slow", "fan:1=weak", "fan:1=deaf"}) {
    EXPECT_EQ(halvarinRun({"--machine", "simulated", "--fault", fault, "keys", "FNum"}).exit, 0)
        << fault;
  }
}

TEST(ClockOption, StoppedClockHoldsTheReadingsAndARunningOneMovesThem) {
  const auto readings = [](const char* clock) {
    return halvarinRun({"--machine", "simulated", "--clock", clock, "sensors"}).out;
  };
  EXPECT_EQ(readings("0"), readings("0"));
  EXPECT_NE(readings("0"), readings("100000"));
}

}  // namespace
}  // namespace halvarin::test
