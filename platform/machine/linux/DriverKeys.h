#pragma once

#include <cstdint>

#include "platform/machine/linux/DriverAnswer.h"

namespace halvarin::platform {

/// A kernel driver seen as the controller behind it: the contract for each kind of driver. Any
/// thread.
class DriverKeys {
 public:
  virtual ~DriverKeys() = default;

  /// Whether the driver is there now.
  [[nodiscard]] virtual bool isPresent() = 0;

  /// 0 when this user may ask for keys. No resources when he may, and the system lacks what it
  /// takes.
  [[nodiscard]] virtual MachineStatus access() = 0;

  /// Answers one of the controller's commands; another is refused.
  [[nodiscard]] DriverAnswer answer(const ControllerRequest& request) {
    switch (static_cast<Command>(request.command)) {
      case Command::read:
        return read(request);
      case Command::write:
        return write(request);
      case Command::keyByIndex:
        return keyByIndex(request.index);
      case Command::keyInfo:
        return keyInfo(request.key);
    }
    return refusal(kResultBadCommand);
  }

 private:
  [[nodiscard]] virtual DriverAnswer keyByIndex(std::uint32_t index) = 0;
  [[nodiscard]] virtual DriverAnswer keyInfo(const FourBytes& code) = 0;
  [[nodiscard]] virtual DriverAnswer read(const ControllerRequest& request) = 0;
  [[nodiscard]] virtual DriverAnswer write(const ControllerRequest& request) = 0;
};

}  // namespace halvarin::platform
