#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

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
  ASSERT_EQ(json.size(), 176U);
  for (const auto& model : json) {
    EXPECT_GE(model["sensors"], 9) << model["model"];
    EXPECT_FALSE(model["name"].get<std::string>().empty());
    EXPECT_FALSE(model["chip"].get<std::string>().empty());
  }
}

TEST(Models, JsonSaysHowTheKeysOfEachModelAreKnown) {
  const auto json = nlohmann::json::parse(halvarinRun({"models", "--json"}).out);
  std::set<std::string> withList;
  for (const auto& model : json) {
    if (model["list"] != "family") {
      withList.insert(model["model"]);
      EXPECT_FALSE(model.contains("relative")) << model["model"];
    }
  }
  std::map<std::string, int> lists;
  for (const auto& model : json) {
    ++lists[model["list"]];
    if (model["list"] == "family") {
      EXPECT_EQ(withList.count(model["relative"]), 1U) << model["model"];
    }
  }
  EXPECT_THAT(
      lists, testing::UnorderedElementsAre(testing::Pair("dump", 41), testing::Pair("firmware", 24),
                                           testing::Pair("report", 18), testing::Pair("listed", 45),
                                           testing::Pair("family", 48)));
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
