#include "platform/machine/linux/SmcDriver.h"

#include <cerrno>
#include <utility>
#include <vector>

namespace halvarin::platform {

namespace {

constexpr const char* kMonitors = "/sys/class/hwmon";

/// The one line that a file holds; EBADMSG when it is too long for a line of the kernel's.
int readLine(FileTree& files, const std::string& path, std::string& line) {
  constexpr std::size_t kMostBytes = 4096;  // a page, the most that the kernel shows in such a file
  FileContent content = files.read(path, kMostBytes);
  if (content.error != 0 || content.bytes.size() == kMostBytes) {
    return content.error != 0 ? content.error : EBADMSG;
  }
  if (!content.bytes.empty() && content.bytes.back() == '\n') {
    content.bytes.pop_back();
  }
  line = std::move(content.bytes);
  return 0;
}

std::optional<SmcDriver::Kind> kindNamed(const std::string& name) {
  if (name == "applesmc") {
    return SmcDriver::Kind::applesmc;
  }
  return name == "macsmc_hwmon" ? std::optional(SmcDriver::Kind::macsmcHwmon) : std::nullopt;
}

bool isAbsence(int error) {
  return error == ENOENT || error == ENOTDIR || error == ENODEV;
}

/// The kind of driver whose name a monitor states; absent for others. ENODEV when it states none.
int kindIn(FileTree& files, const std::string& folder, std::optional<SmcDriver::Kind>& kind) {
  // Older kernels keep the name with the device.
  for (const char* const name : {"/name", "/device/name"}) {
    std::string line;
    const int error = readLine(files, folder + name, line);
    if (!isAbsence(error)) {
      kind = kindNamed(line);
      return error;
    }
  }
  return ENODEV;
}

/// ENODEV when the folder is not that of a driver of this kind.
int findIn(FileTree& files, const std::string& folder, SmcDriver::Kind wanted) {
  std::optional<SmcDriver::Kind> kind;
  const int error = kindIn(files, folder, kind);
  return error == 0 && kind != wanted ? ENODEV : error;
}

std::optional<SmcDriver> driverIn(FileTree& files, const std::string& link) {
  const std::string folder = files.resolve(link);
  std::optional<SmcDriver::Kind> kind;
  if (folder.empty() || kindIn(files, folder, kind) != 0 || !kind) {
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

int locate(FileTree& files, const SmcDriver& driver, SmcDriver& now) {
  now = driver;
  int result = findIn(files, driver.hwmonFolder, driver.kind);
  if (result != ENODEV || driver.deviceFolder.empty()) {
    return result;
  }
  const std::string monitors = driver.deviceFolder + "/hwmon";
  const std::vector<std::string> names = files.list(monitors);
  for (const std::string& name : names) {
    const std::string folder = std::string(monitors).append("/").append(name);
    const int error = findIn(files, folder, driver.kind);
    if (error == 0) {
      now.hwmonFolder = folder;
      return 0;
    }
    result = error != ENODEV ? error : result;
  }
  return result;
}

bool isStillThere(FileTree& files, const SmcDriver& driver) {
  SmcDriver now;
  return locate(files, driver, now) != ENODEV;
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
  std::string line;
  return readLine(files, path, line) == 0 ? std::optional(std::move(line)) : std::nullopt;
}

}  // namespace halvarin::platform
