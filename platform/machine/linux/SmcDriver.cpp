#include "platform/machine/linux/SmcDriver.h"

#include <cerrno>

namespace halvarin::platform {

namespace {

constexpr const char* kMonitors = "/sys/class/hwmon";

std::optional<SmcDriver::Kind> kindNamed(const std::string& name) {
  if (name == "applesmc") {
    return SmcDriver::Kind::applesmc;
  }
  return name == "macsmc_hwmon" ? std::optional(SmcDriver::Kind::macsmcHwmon) : std::nullopt;
}

std::optional<SmcDriver::Kind> kindIn(FileTree& files, const std::string& folder) {
  // Older kernels keep the name with the device.
  auto name = lineOf(files, folder + "/name");
  if (!name) {
    name = lineOf(files, folder + "/device/name");
  }
  return name ? kindNamed(*name) : std::nullopt;
}

std::optional<SmcDriver> driverIn(FileTree& files, const std::string& link) {
  const std::string folder = files.resolve(link);
  const auto kind = folder.empty() ? std::nullopt : kindIn(files, folder);
  if (!kind) {
    return std::nullopt;
  }
  return SmcDriver{*kind, folder, files.resolve(folder + "/device")};
}

bool isThere(FileTree& files, const std::string& path) {
  const int error = files.read(path, 0).error;
  return error != ENOENT && error != ENOTDIR;
}

}  // namespace

std::optional<SmcDriver> findSmcDriver(FileTree& files) {
  std::optional<SmcDriver> found;
  for (const std::string& name : files.list(kMonitors)) {
    const auto driver = driverIn(files, std::string(kMonitors) + "/" + name);
    if (driver && (!found || found->kind > driver->kind)) {
      found = driver;
    }
  }
  return found;
}

bool isStillThere(FileTree& files, const SmcDriver& driver) {
  return kindIn(files, driver.hwmonFolder) == driver.kind;
}

std::string driverFile(FileTree& files, const SmcDriver& driver, std::string_view name) {
  for (const std::string& folder : {driver.hwmonFolder, driver.deviceFolder}) {
    const std::string path = folder + "/" + std::string(name);
    if (!folder.empty() && isThere(files, path)) {
      return path;
    }
  }
  return "";
}

int writeAndRead(FileTree& files, const std::string& path, std::string_view text) {
  if (const int error = files.write(path, text)) {
    return error;
  }
  const auto shown = lineOf(files, path);
  if (!shown) {
    return EIO;
  }
  return *shown == text ? 0 : EREMOTEIO;
}

std::optional<std::string> lineOf(FileTree& files, const std::string& path) {
  constexpr std::size_t kMostBytes = 4096;  // a page, the most that the kernel shows in such a file
  FileContent content = files.read(path, kMostBytes);
  if (content.error != 0 || content.bytes.size() == kMostBytes) {
    return std::nullopt;
  }
  if (!content.bytes.empty() && content.bytes.back() == '\n') {
    content.bytes.pop_back();
  }
  return std::move(content.bytes);
}

}  // namespace halvarin::platform
