#include "platform/HostServices.h"

namespace halvarin::platform {

std::optional<std::string> auxiliaryExecutablePath(std::string_view /*name*/) {
  return std::nullopt;
}

}  // namespace halvarin::platform
