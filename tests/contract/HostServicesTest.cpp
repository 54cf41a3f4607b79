#include "platform/HostServices.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

namespace halvarin::test {
namespace {

TEST(HostServices, AProgramWithoutABundleHasNoAuxiliaryExecutable) {
  EXPECT_EQ(platform::auxiliaryExecutablePath("helper"), std::nullopt);
  EXPECT_EQ(platform::auxiliaryExecutablePath(""), std::nullopt);
  // Not even one that is on the search path or named by its whole path.
  EXPECT_EQ(platform::auxiliaryExecutablePath("sh"), std::nullopt);
  EXPECT_EQ(platform::auxiliaryExecutablePath("/bin/sh"), std::nullopt);
}

TEST(HostServices, KnowsTheFileThatThisProcessRuns) {
  const std::string path = platform::ownExecutablePath();
  EXPECT_TRUE(std::filesystem::equivalent(path, "/proc/self/exe")) << path;
}

TEST(HostServices, NamesTheEndOfTheApplicationAsThePlatformDoes) {
  EXPECT_EQ(platform::kApplicationWillTerminate, "NSApplicationWillTerminateNotification");
}

}  // namespace
}  // namespace halvarin::test
