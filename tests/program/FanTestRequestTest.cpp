// What the fan self-test is asked for and cannot do as it stands.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <string>
#include <vector>

#include "base/FileBytes.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using Words = std::vector<std::string>;

class FanTestRequest : public testing::Test {
 protected:
  void SetUp() override { setenv("HALVARIN_TEST_LOG_ROOT", logs_.path().c_str(), 1); }

  /// `test fans` on a machine, in hurried time.
  [[nodiscard]] static ProgramRun run(const std::string& machine, const Words& words) {
    Words all{"--machine", machine, "--clock", "400", "test", "fans"};
    all.insert(all.end(), words.begin(), words.end());
    return runProgram(HALVARIN_ROOTED, all);
  }

  const TemporaryFolder logs_;
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

}  // namespace
}  // namespace halvarin::test
