#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/support/ProgramRun.h"

namespace halvarin::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;

TEST(Descriptors, AreShownByKindWithoutAMachine) {
  const ProgramRun run = halvarinRun({"descriptors"});
  EXPECT_EQ(run.exit, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, HasSubstr("Temperature ("));
  EXPECT_THAT(run.out, HasSubstr("\n  CPU proximity\n"));
  EXPECT_THAT(run.out, HasSubstr("\nLight ("));
  EXPECT_THAT(run.out, testing::Not(HasSubstr("Photometer")));
}

TEST(Descriptors, JsonHasAListOfNamesForEachKind) {
  const ProgramRun run = halvarinRun({"descriptors", "--json"});
  EXPECT_EQ(run.exit, 0);
  const json kinds = json::parse(run.out);
  ASSERT_TRUE(kinds.is_object());
  for (const auto& [kind, names] : kinds.items()) {
    ASSERT_TRUE(names.is_array()) << kind;
    auto sorted = names.get<std::vector<std::string>>();
    EXPECT_FALSE(sorted.empty()) << kind;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end()) << kind;
  }
  EXPECT_TRUE(kinds.contains("Temperature"));
}

}  // namespace
}  // namespace halvarin::test
