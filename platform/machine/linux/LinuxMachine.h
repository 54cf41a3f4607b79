#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>

#include "base/Mutex.h"
#include "platform/Clock.h"
#include "platform/machine/Machine.h"
#include "platform/machine/linux/DriverKeys.h"
#include "platform/machine/linux/FileTree.h"
#include "platform/machine/linux/SmcDriver.h"

namespace halvarin::platform {

/// A Mac that runs Linux: the controller's commands answered through the kernel's driver for it,
/// the platform's settings from the kernel's files. Its fans are real ones. Any thread; blocks for
/// the driver.
class LinuxMachine : public Machine {
 public:
  /// The clock is for short pauses while others use the driver.
  LinuxMachine(std::shared_ptr<FileTree> files, const SmcDriver& driver,
               std::shared_ptr<Clock> clock);

  [[nodiscard]] bool hasService(std::string_view serviceClass) override;
  /// Not privileged when this user may not ask the driver for keys; no resources when no key could
  /// be told from another's.
  [[nodiscard]] MachineStatus open(std::uint32_t type, std::uint32_t& connection) override;
  [[nodiscard]] MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                   std::span<const std::uint8_t> request,
                                   std::span<std::uint8_t> reply, std::size_t& replySize) override;
  [[nodiscard]] MachineStatus close(std::uint32_t connection) override;
  [[nodiscard]] Value setting(std::string_view name) override;
  [[nodiscard]] std::string powerSource() override;

 private:
  [[nodiscard]] bool isOpen(std::uint32_t connection);

  const std::shared_ptr<FileTree> files_;
  const std::unique_ptr<DriverKeys> keys_;
  Mutex mutex_;
  std::unordered_set<std::uint32_t> connections_ HALVARIN_GUARDED_BY(mutex_);
  std::uint32_t lastConnection_ HALVARIN_GUARDED_BY(mutex_) = 0;
};

}  // namespace halvarin::platform
