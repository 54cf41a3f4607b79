// The program without a command.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "tests/support/ProgramRun.h"

namespace halvarin::test {
namespace {

using testing::HasSubstr;

TEST(OverviewGolden, OfTheBuiltInLaptop) {
  const ProgramRun run = halvarinRun({"--machine", "simulated", "--clock", "0"});
  EXPECT_EQ(run.exit, 0) << run.err;
  expectGolden("overview-laptop.txt", run.out);
}

TEST(OverviewGolden, OfALaptopThatIsTooHot) {
  const ProgramRun run =
      halvarinRun({"--machine", "simulated", "--clock", "0", "--fault", "TC0P=125", "--fault",
                   "TC1C=error:e00002c2", "--fault", "fan:1=stalled"});
  EXPECT_EQ(run.exit, 0) << run.err;
  expectGolden("overview-hot.txt", run.out);
}

TEST(Overview, JsonHasTheFiveHottestTheFansAndWhatIsOutside) {
  const auto overview = nlohmann::json::parse(
      halvarinRun({"--machine", "simulated", "--fault", "TC0P=125", "--json"}).out);
  EXPECT_EQ(overview["machine"]["kind"], "simulated");
  EXPECT_EQ(overview["hottest"].size(), 5U);
  EXPECT_EQ(overview["hottest"][0]["key"], "TC0P");
  EXPECT_EQ(overview["fans"].size(), 2U);
  ASSERT_EQ(overview["outside"].size(), 1U);
  EXPECT_EQ(overview["outside"][0]["value"], "125.00");
}

TEST(Overview, ShowsAMachineThatTheDatabaseDoesNotKnow) {
  const ProgramRun run =
      halvarinRun({"--machine", machineFile("fans-mode-key.txt"), "--clock", "0"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.out, HasSubstr("Fan3,1 (recorded)"));
  EXPECT_THAT(run.out, HasSubstr("automatic"));
  EXPECT_THAT(run.err, HasSubstr("does not know the model"));
}

TEST(Overview, ATextMeantForAFileIsNotWrittenIntoAnother) {
  const std::string command = std::string("'") + HALVARIN_PROGRAM +
                              "' --machine simulated --journal /dev/null >&- 2>/dev/null";
  EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 6);
}

TEST(Overview, AMachineThatGoesAwayShowsItsFailedReadings) {
  const ProgramRun run = halvarinRun({"--machine", "simulated", "--fault", "vanish:1360"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_THAT(run.out, HasSubstr("were not read"));
}

}  // namespace
}  // namespace halvarin::test
