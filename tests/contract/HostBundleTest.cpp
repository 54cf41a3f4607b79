#include "platform/posix/HostBundle.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

namespace halvarin::test {
namespace {

TEST(HostBundle, AProgramWithoutABundleHasNoAuxiliaryExecutable) {
  EXPECT_EQ(platform::auxiliaryExecutablePath("helper"), std::nullopt);
  EXPECT_EQ(platform::auxiliaryExecutablePath(""), std::nullopt);
  // Not even one that is on the search path or named by its whole path.
  EXPECT_EQ(platform::auxiliaryExecutablePath("sh"), std::nullopt);
  EXPECT_EQ(platform::auxiliaryExecutablePath("/bin/sh"), std::nullopt);
}

TEST(HostBundle, KnowsTheFileThatThisProcessRuns) {
  static const char inThisFile = 0;
  Dl_info image{};
  ASSERT_NE(::dladdr(&inThisFile, &image), 0);
  const std::string path = platform::ownExecutablePath();
  EXPECT_TRUE(std::filesystem::equivalent(path, image.dli_fname)) << path;
}

TEST(HostBundle, ATextThatItHasNoTranslationOfStaysAsItIs) {
  for (const char* text : {"", "ODD Warning", "L\u00FCfter", "100% of %s", "\xFF"}) {
    EXPECT_EQ(platform::bundleText(text), text);
  }
}

TEST(HostBundle, AnAlertIsOneLineWithoutLineFeeds) {
  EXPECT_EQ(platform::alertLine({"Two\nlines", "OK", "and\ntwo more"}), "Two lines and two more");
}

}  // namespace
}  // namespace halvarin::test
