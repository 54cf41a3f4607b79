#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/SocketFolder.h"

namespace halvarin::test {

/// While one lives the process has a main bundle with an executable and German for two texts.
class StandInBundle {
 public:
  StandInBundle() {
    namespace fs = std::filesystem;
    std::ofstream(folder_.path("helper")) << "#!/bin/sh\n";
    fs::permissions(folder_.path("helper"), fs::perms::owner_all);
    std::ofstream(folder_.path("strings.plist"))
        << "<plist version=\"1.0\"><dict><key>Warning!</key><string>Warnung!</string>"
           "<key>Left</key><string>L\u00FCfter links</string></dict></plist>";
    setenv("HALVARIN_STAND_IN_BUNDLE", folder_.path("").c_str(), 1);
  }
  ~StandInBundle() { unsetenv("HALVARIN_STAND_IN_BUNDLE"); }
  StandInBundle(const StandInBundle&) = delete;
  StandInBundle& operator=(const StandInBundle&) = delete;

  [[nodiscard]] std::string path(const std::string& name) const { return folder_.path(name); }

 private:
  const SocketFolder folder_;
};

}  // namespace halvarin::test
