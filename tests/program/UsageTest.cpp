#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>

#include "tests/support/ProgramRun.h"

namespace halvarin::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Refusal {
  const char* name;
  std::vector<std::string> words;
  const char* says;
};

/// A refused command line: exit 2, one line on standard error, nothing on standard output.
void expectRefused(const Refusal& row) {
  SCOPED_TRACE(row.name);
  const ProgramRun run = halvarinRun(row.words);
  EXPECT_EQ(run.exit, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_THAT(run.err, StartsWith("halvarin: "));
  EXPECT_THAT(run.err, HasSubstr(row.says));
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

TEST(Usage, WrongCommandLinesAreRefusedWithOneLine) {
  const std::vector<Refusal> rows{
      {"unknown command",
       {"sensor"},
       "the commands are sensors, fans, fan, test, keys, models and descriptors"},
      {"unknown option", {"sensors", "--fast"}, "--fast"},
      {"unknown category", {"sensors", "noise"}, "there are: temperature, voltage"},
      {"two commands", {"models", "sensors"}, "sensors"},
      {"empty category", {"sensors", ""}, "there is no category \"\""},
      {"empty pattern", {"keys", ""}, "no key can match \"\""},
      {"two categories", {"sensors", "fans", "light"}, "light"},
      {"category of all keys", {"sensors", "fans", "--all-keys"}, "without a category"},
      {"pattern too long", {"keys", "???????"}, "keys have four characters"},
      {"pattern too short", {"keys", "T??"}, "keys have four characters"},
      {"stars and too much", {"keys", "TC0P*X"}, "keys have four characters"},
      {"dump as JSON", {"keys", "--dump", "--json"}, "without --json"},
      {"dump of a pattern", {"keys", "--dump", "T???"}, "without --json and PATTERN"},
      {"unknown machine",
       {"--machine", "mine", "sensors"},
       "simulated:MODEL (MacBookPro16,1, MacBookPro18,1), file:PATH or socket:PATH"},
      {"machine without a value", {"--machine"}, "--machine"},
      {"file without a path", {"--machine", "file:", "sensors"}, "--machine takes"},
      {"unknown built-in machine",
       {"--machine", "simulated:Mac9,9", "sensors"},
       "there are: MacBookPro16,1, MacBookPro18,1"},
      {"built-in machine of no model",
       {"--machine", "simulated:", "sensors"},
       "there are: MacBookPro16,1, MacBookPro18,1"},
  };
  for (const Refusal& row : rows) {
    expectRefused(row);
  }
}

TEST(Usage, WrongSimulationOptionsAreRefusedWithOneLine) {
  const std::vector<std::string> simulated{"--machine", "simulated", "sensors"};
  const auto with = [&](std::vector<std::string> words) {
    words.insert(words.end(), simulated.begin(), simulated.end());
    return words;
  };
  const std::vector<Refusal> rows{
      {"fault without a machine", {"--fault", "TC0P=1", "sensors"}, "need --machine simulated"},
      {"latency without a machine", {"--latency", "1ms", "sensors"}, "need --machine simulated"},
      {"journal without a machine", {"--journal", "j", "sensors"}, "need --machine simulated"},
      {"latency without a unit", with({"--latency", "5"}), "--latency takes a time"},
      {"latency without a number", with({"--latency", "ms"}), "--latency takes a time"},
      {"latency of an hour", with({"--latency", "3600s"}), "--latency takes a time"},
      {"latency of two points", with({"--latency", "1.5.5ms"}), "--latency takes a time"},
      {"empty latency", with({"--latency", ""}), "--latency takes a time"},
      {"clock backwards", with({"--clock", "-1"}), "--clock"},
      {"clock without end", with({"--clock", "1e308"}), "--clock takes 0 or a factor"},
      {"clock of almost nothing", with({"--clock", "1e-9"}), "--clock takes 0 or a factor"},
      {"clock of words", with({"--clock", "fast"}), "--clock"},
      {"fault of nothing", with({"--fault", "hot"}), "it takes KEY=VALUE"},
      {"fault of three characters", with({"--fault", "TC0=1"}), "four characters"},
      {"fault of no number", with({"--fault", "TC0P=warm"}), "is no number"},
      {"fault of no status", with({"--fault", "TC0P=error:zz"}), "no hexadecimal status"},
      {"fault of status 0", with({"--fault", "TC0P=error:0"}), "no hexadecimal status"},
      {"vanishing never", with({"--fault", "vanish:soon"}), "no number of transfers"},
      {"fault of a missing key", with({"--fault", "nokey=1"}), "four characters"},
      {"fault of an unknown key", with({"--fault", "none=1"}), "this machine has no key \"none\""},
      {"status of an unknown key", with({"--fault", "none=error:5"}),
       "this machine has no key \"none\""},
      {"fault of a type without numbers", with({"--fault", "F0ID=1"}), "holds no number"},
      {"fault of no fan", with({"--fault", "fan:x=slow"}), "\"x\" is no number of a fan"},
      {"unknown fault of a fan", with({"--fault", "fan:0=tired"}), "no fault of a fan"},
      {"fan beyond the machine's", with({"--fault", "fan:2=slow"}),
       "this machine has no fan 2; its fans are: 0, 1"},
      {"count of four billion", with({"--fault", "#KEY=4294967295"}), "65536 at most"},
      {"journal in no folder", with({"--journal", "/no/such/folder/journal"}),
       "/no/such/folder/journal cannot be written"},
  };
  for (const Refusal& row : rows) {
    expectRefused(row);
  }
}

TEST(Usage, UsageErrorsAreFoundBeforeTheMachineIsOpened) {
  expectRefused({"missing file", {"--machine", "file:/no/such", "sensors", "noise"}, "category"});
}

TEST(Usage, CommandsToTheTerminalInMessagesAreNotPassedOn) {
  const ProgramRun run = halvarinRun({"sensors", "\033[2Jnoise"});
  EXPECT_EQ(run.exit, 2);
  EXPECT_THAT(run.err, HasSubstr("?[2Jnoise"));
}

TEST(Usage, OutputThatCannotBeWrittenEndsWithExit6) {
  const std::string full = std::string("'") + HALVARIN_PROGRAM + "' models >/dev/full 2>/dev/null";
  EXPECT_EQ(WEXITSTATUS(std::system(full.c_str())), 6);
  const std::string closed = std::string("'") + HALVARIN_PROGRAM + "' models >&- 2>/dev/null";
  EXPECT_EQ(WEXITSTATUS(std::system(closed.c_str())), 6);
}

TEST(Usage, VersionIsOneLine) {
  const ProgramRun run = halvarinRun({"--version"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_EQ(run.out, "halvarin 1.0\n");
  EXPECT_EQ(run.err, "");
}

TEST(Usage, HelpNamesEveryCommandAndExit) {
  const ProgramRun run = halvarinRun({"--help"});
  EXPECT_EQ(run.exit, 0);
  for (const char* word :
       {"sensors", "fans", "fan", "test", "keys", "models", "--machine", "--fault",
        "fan:N=stalled|slow|weak|deaf", "Exits: 0 fine", "4 canceled, 5 not permitted"}) {
    EXPECT_THAT(run.out, HasSubstr(word));
  }
  EXPECT_EQ(halvarinRun({"sensors", "--help"}).exit, 0);
}

TEST(Usage, ComputerWithoutAControllerEndsWithExit3AndNamesTheSimulation) {
  if (std::system("grep -qsE 'applesmc|macsmc_hwmon' /sys/class/hwmon/*/name "
                  "/sys/class/hwmon/*/device/name") == 0) {
    GTEST_SKIP() << "this computer has a controller";
  }
  for (const char* command : {"sensors", "keys", "fans", "--json"}) {
    const ProgramRun run = halvarinRun({command});
    EXPECT_EQ(run.exit, 3);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("--machine simulated"));
  }
}

}  // namespace
}  // namespace halvarin::test
