#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/machine/MachineFile.h"
#include "platform/machine/linux/DiskTree.h"
#include "platform/machine/linux/FileTree.h"
#include "tests/support/DriverScript.h"
#include "tests/support/ScriptedFans.h"

namespace halvarin::test {

/// The kernel's driver "applesmc" as its files behave: one cursor for all processes, values that
/// are refused, fans that take commands. Everything else in its tree lies on the disk. All who open
/// the same folder, in whatever process, share one driver.
class ScriptedDriver : public platform::FileTree {
 public:
  static constexpr const char* kDevice = "/sys/devices/platform/applesmc.768";
  static constexpr const char* kMonitor = "/sys/devices/platform/applesmc.768/hwmon/hwmon3";

  /// Makes a driver for a machine in a folder. Keys that the machine does not let be read give EIO.
  static void layOut(const std::filesystem::path& folder, platform::RecordedMachine machine,
                     const DriverScript& script = {});
  /// Whether a folder holds one.
  [[nodiscard]] static bool isIn(const std::filesystem::path& folder);

  explicit ScriptedDriver(const std::filesystem::path& folder);
  ~ScriptedDriver() override;
  ScriptedDriver(const ScriptedDriver&) = delete;
  ScriptedDriver& operator=(const ScriptedDriver&) = delete;

  /// What was written to the fans' files so far, by any process: "fan1_manual 1" and so on.
  [[nodiscard]] std::vector<std::string> writes() const;
  [[nodiscard]] std::uint64_t valuesRead() const;
  /// Moves the cursor as a program does that knows nothing of locks.
  void moveCursor(std::uint32_t index);
  [[nodiscard]] std::uint32_t cursor() const;
  /// From now on no key gives a value and no fan's file works; or all of them again.
  void setSilent(bool silent);
  /// What the controller itself does to a fan.
  void setForced(std::uint32_t fan, bool forced);
  [[nodiscard]] const platform::RecordedMachine& machine() const { return machine_; }

  [[nodiscard]] platform::FileContent read(const std::string& path, std::size_t most) override;
  [[nodiscard]] int write(const std::string& path, std::string_view text) override;
  [[nodiscard]] int mayWrite(const std::string& path) override;
  [[nodiscard]] std::vector<std::string> list(const std::string& path) override;
  [[nodiscard]] std::string resolve(const std::string& path) override;
  [[nodiscard]] std::unique_ptr<platform::CursorFile> openCursor(const std::string& path,
                                                                 int& error) override;

 private:
  struct State;
  class Cursor;

  [[nodiscard]] platform::FileContent keyFile(std::string_view name) const;
  [[nodiscard]] platform::FileContent fanFile(const ScriptedFans::File& file,
                                              std::size_t most) const;

  const std::filesystem::path folder_;
  platform::RecordedMachine machine_;
  DriverScript script_;
  platform::DiskTree disk_;
  const ScriptedFans fans_;
  State* state_;
};

}  // namespace halvarin::test
