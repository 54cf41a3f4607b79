#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "platform/HostServices.h"
#include "tests/support/SocketFolder.h"

namespace halvarin::test {
namespace {

namespace fs = std::filesystem;

/// A main bundle with an executable and German for two texts.
class BundleOfMacOS : public testing::Test {
 protected:
  BundleOfMacOS() {
    std::ofstream(folder_.path("helper")) << "#!/bin/sh\n";
    fs::permissions(folder_.path("helper"), fs::perms::owner_all);
    std::ofstream(folder_.path("strings.plist"))
        << "<plist version=\"1.0\"><dict><key>Warning!</key><string>Warnung!</string>"
           "<key>Left</key><string>L\u00FCfter links</string></dict></plist>";
    setenv("HALVARIN_STAND_IN_BUNDLE", folder_.path("").c_str(), 1);
  }
  ~BundleOfMacOS() override { platform::setTextTranslator(nullptr); }

  SocketFolder folder_;
};

TEST_F(BundleOfMacOS, HasAnAuxiliaryExecutable) {
  const auto path = platform::auxiliaryExecutablePath("helper");
  ASSERT_TRUE(path.has_value());
  EXPECT_TRUE(fs::equivalent(*path, folder_.path("helper")));
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

TEST_F(BundleOfMacOS, TheHostsTranslatorComesFirst) {
  platform::setTextTranslator([](std::string_view text) {
    return text == "Warning!" ? std::optional<std::string>("Attention !") : std::nullopt;
  });
  EXPECT_EQ(platform::localizedText("Warning!"), "Attention !");
  EXPECT_EQ(platform::localizedText("Left"), "L\u00FCfter links");
}

}  // namespace
}  // namespace halvarin::test
