#include "platform/posix/HostBundle.h"

#include <filesystem>
#include <system_error>

namespace halvarin::platform {

std::optional<std::string> auxiliaryExecutablePath(std::string_view /*name*/) {
  return std::nullopt;
}

std::string ownExecutablePath() {
  std::error_code unknown;
  return std::filesystem::read_symlink("/proc/self/exe", unknown).string();
}

std::string bundleText(std::string_view text) {
  return std::string(text);
}

}  // namespace halvarin::platform
