#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/machine/linux/FileTree.h"

namespace halvarin::platform {

/// A kernel driver of the controller, as it is found among the system's hardware monitors.
struct SmcDriver {
  enum class Kind {
    applesmc,     // Intel Macs: every key, and the fans
    macsmcHwmon,  // Apple silicon: chosen sensors and the fans, already in units
  };
  Kind kind = Kind::applesmc;
  // As they were found, without links: the number belongs to whatever was loaded last, the path
  // names the device too.
  std::string hwmonFolder;   // "/sys/devices/platform/applesmc.768/hwmon/hwmon3"
  std::string deviceFolder;  // the device behind it, "/sys/devices/platform/applesmc.768"; or ""
};

/// Finds the driver by the name that it states, wherever the kernel has put it; absent when it is
/// not loaded. Of two drivers the one with all keys is taken.
[[nodiscard]] std::optional<SmcDriver> findSmcDriver(FileTree& files);

/// Where that driver lies now: its monitor gets another number when it is loaded again. ENODEV when
/// nothing states its name there any more; another error while that cannot be told.
[[nodiscard]] int locate(FileTree& files, const SmcDriver& driver, SmcDriver& now);

/// False when `locate` finds it gone.
[[nodiscard]] bool isStillThere(FileTree& files, const SmcDriver& driver);

/// The path of one of the driver's files, "" when it has no such file. Which of the two folders
/// holds what has changed over the kernel's versions.
[[nodiscard]] std::string driverFile(FileTree& files, const SmcDriver& driver,
                                     std::string_view name);

/// Writes into one of the driver's files and looks whether it took that: EREMOTEIO when it shows
/// something else, EIO when it shows nothing.
[[nodiscard]] int writeAndRead(FileTree& files, const std::string& path, std::string_view text);

/// The one line that a file holds, without its line end; absent when it cannot be read or is too
/// long for a line of the kernel's.
[[nodiscard]] std::optional<std::string> lineOf(FileTree& files, const std::string& path);

}  // namespace halvarin::platform
