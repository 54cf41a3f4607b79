#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include "platform/HostServices.h"
#include "tests/darwin/StandInBundle.h"

namespace halvarin::test {
namespace {

namespace fs = std::filesystem;

class BundleOfMacOS : public testing::Test {
 protected:
  ~BundleOfMacOS() override { platform::setTextTranslator(nullptr); }

  const StandInBundle bundle_;
};

TEST_F(BundleOfMacOS, HasAnAuxiliaryExecutable) {
  const auto path = platform::auxiliaryExecutablePath("helper");
  ASSERT_TRUE(path.has_value());
  EXPECT_TRUE(fs::equivalent(*path, bundle_.path("helper")));
  EXPECT_EQ(platform::auxiliaryExecutablePath("another"), std::nullopt);
}

TEST_F(BundleOfMacOS, APathLongerThanTheSystemsPathsIsNone) {
  EXPECT_EQ(platform::auxiliaryExecutablePath(std::string(5000, 'x')), std::nullopt);
}

TEST_F(BundleOfMacOS, TranslatesForThePersonAtTheComputer) {
  EXPECT_EQ(platform::localizedText("Warning!"), "Warnung!");
  EXPECT_EQ(platform::localizedText("Left"), "L\u00FCfter links");
  EXPECT_EQ(platform::localizedText("OK"), "OK");
}

TEST(NoBundleOfMacOS, HasNeitherExecutablesNorTranslations) {
  setenv("HALVARIN_STAND_IN_BUNDLE", "", 1);
  EXPECT_EQ(platform::auxiliaryExecutablePath("helper"), std::nullopt);
  EXPECT_EQ(platform::localizedText("Warning!"), "Warning!");
}

TEST_F(BundleOfMacOS, TheHostsTranslatorComesFirst) {
  platform::setTextTranslator([](std::string_view text) {
    return text == "Warning!" ? std::optional<std::string>("Attention !") : std::nullopt;
  });
  EXPECT_EQ(platform::localizedText("Warning!"), "Attention !");
  EXPECT_EQ(platform::localizedText("Left"), "L\u00FCfter links");
}

}  // namespace
}  // namespace halvarin::test
