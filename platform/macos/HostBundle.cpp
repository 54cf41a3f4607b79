#include "platform/posix/HostBundle.h"

#include <mach-o/dyld.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "platform/macos/CFObjects.h"

namespace halvarin::platform {

namespace {

constexpr std::size_t kMostPathBytes = 4096;  // more than the system's own limit

}  // namespace

std::optional<std::string> auxiliaryExecutablePath(std::string_view name) {
  CFBundleRef bundle = CFBundleGetMainBundle();  // null where the system finds none
  const Owned<CFURLRef> place(
      bundle != nullptr ? CFBundleCopyAuxiliaryExecutableURL(bundle, cfTextOfAnyBytes(name).get())
                        : nullptr);
  std::array<UInt8, kMostPathBytes> path{};
  if (!place || CFURLGetFileSystemRepresentation(place.get(), static_cast<Boolean>(true),
                                                 path.data(), kMostPathBytes) == 0) {
    return std::nullopt;
  }
  return reinterpret_cast<const char*>(path.data());
}

std::string ownExecutablePath() {
  std::uint32_t size = 0;
  _NSGetExecutablePath(nullptr, &size);  // tells the size that it needs
  std::string path(size, '\0');
  if (_NSGetExecutablePath(path.data(), &size) != 0) {
    return "";
  }
  std::error_code unknown;
  return std::filesystem::canonical(path.c_str(), unknown).string();
}

std::string bundleText(std::string_view text) {
  CFBundleRef bundle = CFBundleGetMainBundle();
  const Owned<CFStringRef> key = cfText(text);
  const Owned<CFStringRef> translation(
      key && bundle != nullptr ? CFBundleCopyLocalizedString(bundle, key.get(), nullptr, nullptr)
                               : nullptr);
  return translation ? utf8Of(translation.get()) : std::string(text);
}

}  // namespace halvarin::platform
