// What the fan self-test is asked for and cannot do as it stands.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/ProgramRun.h"
#include "tests/support/RootedLogs.h"

namespace halvarin::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using Words = std::vector<std::string>;

class FanTestRequest : public testing::Test {
 protected:
  /// `test fans` on a machine, in hurried time.
  [[nodiscard]] static ProgramRun run(const std::string& machine, const Words& words) {
    Words all{"--machine", machine, "--clock", "400", "test", "fans"};
    all.insert(all.end(), words.begin(), words.end());
    return runProgram(HALVARIN_ROOTED, all);
  }

  /// A machine file of two fans at rest whose names are "CPU" and "cpu", and that claims to have so
  /// many (in hexadecimal).
  [[nodiscard]] std::string fanFile(const std::string& count) const {
    const std::string path = logs_.file("machine.txt");
    std::ofstream file(path);
    file << "Model: Fan9,1\nPublic keys (14):\n"
         << "[#KEY] type [ui32] 75693332 len [ 4] attr [80] -> 0000000E\n"
         << "[FNum] type [ui8 ] 75693820 len [ 1] attr [80] -> " << count << "\n";
    const auto addFan = [&file](const std::string& fan, const std::string& name) {
      const std::string speed = " type [fpe2] 66706532 len [ 2] attr [80] -> ";
      file << "[" << fan << "Ac]" << speed << "0FA0\n[" << fan << "Mn]" << speed << "0C80\n[" << fan
           << "Mx]" << speed << "2EE0\n[" << fan << "Tg]" << speed << "0FA0\n[" << fan
           << "Md] type [ui8 ] 75693820 len [ 1] attr [80] -> 00\n[" << fan
           << "ID] type [{fds] 7B666473 len [16] attr [80] -> 01000000" << name
           << "000000000000000000\n";
    };
    addFan("F0", "435055");
    addFan("F1", "637075");
    return path;
  }

  const RootedLogs logs_;
};

TEST_F(FanTestRequest, MachineThatGoesAwayBeforeTheTestIsNotPassed) {
  for (int transfers = 1300; transfers <= 1700; transfers += 25) {
    const ProgramRun result = run("simulated", {"--fault", "vanish:" + std::to_string(transfers)});
    EXPECT_EQ(result.exit, 3) << transfers << result.out << result.err;
    EXPECT_THAT(result.out, Not(HasSubstr("Passed"))) << transfers;
  }
}

TEST_F(FanTestRequest, StoppedClockIsAUsageError) {
  const ProgramRun result =
      runProgram(HALVARIN_ROOTED, {"--machine", "simulated", "--clock", "0", "test", "fans"});
  EXPECT_EQ(result.exit, 2) << result.out;
  EXPECT_EQ(result.err, "halvarin: test fans waits for fans, and none turns with --clock 0\n");
}

TEST_F(FanTestRequest, FansWhoseNamesDifferInCaseOnlyKeepTheirSamples) {
  const ProgramRun result = run("file:" + fanFile("02"), {"--csv", "me"});
  EXPECT_EQ(result.exit, 0) << result.err;
  const std::filesystem::directory_iterator files(logs_.file("Library/Logs/QRB/fantest_csv"));
  EXPECT_EQ(std::distance(begin(files), end(files)), 2) << result.out;
}

TEST_F(FanTestRequest, FanThatCannotBeTestedIsSaidAndTheOthersAreTested) {
  const ProgramRun result = run("file:" + fanFile("11"), {"--fan", "1", "--fan", "16"});
  EXPECT_EQ(result.exit, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("Passed, 1 fan\n"));
  EXPECT_THAT(result.err, HasSubstr("halvarin: fan 16 is not tested: only fans 0 to 14 can be\n"));
}

}  // namespace
}  // namespace halvarin::test
