#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/support/ProgramRun.h"
#include "tests/support/SharedData.h"

namespace halvarin::test {
namespace {

TEST(ModelsGolden, AllAsATable) {
  const ProgramRun run = halvarinRun({"models"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_EQ(run.err, "");
  expectGolden("models.txt", run.out);
}

TEST(Models, JsonCountsTheSensorsOfEachModel) {
  const auto json = nlohmann::json::parse(halvarinRun({"models", "--json"}).out);
  ASSERT_GE(json.size(), 28U);
  for (const auto& model : json) {
    EXPECT_GT(model["sensors"], 20) << model["model"];
    EXPECT_FALSE(model["name"].get<std::string>().empty());
    EXPECT_FALSE(model["chip"].get<std::string>().empty());
  }
}

TEST(Models, EveryRecordedMachineIsKnown) {
  if (recordedModels().empty()) {
    GTEST_SKIP() << "no recorded machines in " << sharedData() / "dumps";
  }
  const std::string table = halvarinRun({"models"}).out;
  for (const std::string& model : recordedModels()) {
    EXPECT_THAT(table, testing::HasSubstr("  " + model + " "));
  }
}

}  // namespace
}  // namespace halvarin::test
