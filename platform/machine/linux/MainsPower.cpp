#include "platform/machine/linux/MainsPower.h"

#include <optional>

#include "platform/machine/linux/SmcDriver.h"

namespace halvarin::platform {

namespace {

constexpr const char* kSupplies = "/sys/class/power_supply";
// The charger in the battery's own bus says that the battery can be charged, not that it is.
constexpr const char* kNoMains = "sbs-charger";

bool isBatteryInUse(FileTree& files, const std::string& folder) {
  // Those of mice and keyboards say whose they are.
  return lineOf(files, folder + "/type") == "Battery" &&
         lineOf(files, folder + "/scope") != "Device" &&
         lineOf(files, folder + "/status") == "Discharging";
}

}  // namespace

std::string powerSourceOf(FileTree& files) {
  bool hasMains = false;
  bool isOnBattery = false;
  for (const std::string& name : files.list(kSupplies)) {
    const std::string folder = std::string(kSupplies) + "/" + name;
    isOnBattery = isOnBattery || isBatteryInUse(files, folder);
    const auto online = lineOf(files, folder + "/online");
    if (name == kNoMains || lineOf(files, folder + "/type") != "Mains" || !online) {
      continue;
    }
    if (*online != "0") {
      return "AC Power";
    }
    hasMains = true;
  }
  return hasMains || isOnBattery ? "Battery Power" : "AC Power";
}

}  // namespace halvarin::platform
