#pragma once

#include <filesystem>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace halvarin::test {

inline constexpr const char* kAppleSiliconMonitor = "sys/class/hwmon/hwmon1/";

/// A reading as the device tree describes it, texts ending with a zero byte.
inline void addTreeNode(const TemporaryFolder& folder, const std::string& node,
                        const std::string& key, const std::string& label) {
  const std::string path = kAppleSiliconMonitor + std::string("of_node/") + node;
  folder.write(path + "/apple,key-id", key + '\0');
  if (!label.empty()) {
    folder.write(path + "/label", label + '\0');
  }
}

/// The files of a Mac with Apple silicon and one fan under Linux, as a plain tree: its driver keeps
/// no cursor.
inline void layOutAppleSilicon(const TemporaryFolder& folder) {
  const std::string monitor = kAppleSiliconMonitor;
  folder.write(monitor + "name", "macsmc_hwmon\n");
  addTreeNode(folder, "temperature-TCHP", "TCHP", "Charge Regulator Temp");
  addTreeNode(folder, "temperature-TB0T", "TB0T", "Battery Hotspot");
  addTreeNode(folder, "voltage-VD0R", "VD0R", "AC Input Voltage");
  addTreeNode(folder, "current-ID0R", "ID0R", "AC Input Current");
  addTreeNode(folder, "power-PSTR", "PSTR", "Total System Power");
  addTreeNode(folder, "fan-F0Ac", "F0Ac", "Fan");
  folder.write(monitor + "of_node/name", std::string("hwmon\0", 6));
  folder.write(monitor + "temp1_label", "Charge Regulator Temp\n");
  folder.write(monitor + "temp1_input", "41250\n");
  folder.write(monitor + "temp2_label", "Battery Hotspot\n");
  folder.write(monitor + "temp2_input", "-3000\n");
  folder.write(monitor + "in0_label", "AC Input Voltage\n");
  folder.write(monitor + "in0_input", "20250\n");
  folder.write(monitor + "curr1_label", "AC Input Current\n");
  folder.write(monitor + "curr1_input", "750\n");
  folder.write(monitor + "power1_label", "Total System Power\n");
  folder.write(monitor + "power1_input", "12500000\n");
  folder.write(monitor + "fan1_label", "Fan\n");
  folder.write(monitor + "fan1_input", "1499\n");
  folder.write(monitor + "fan1_min", "1200\n");
  folder.write(monitor + "fan1_max", "7200\n");
  folder.write(monitor + "fan1_target", "1499");
  folder.write("proc/device-tree/compatible",
               std::string("apple,j293\0apple,t8103\0apple,arm-platform\0", 42));
  folder.write("sys/class/power_supply/macsmc-ac/type", "Mains\n");
  folder.write("sys/class/power_supply/macsmc-ac/online", "0\n");
}

}  // namespace halvarin::test
