#pragma once

#include "platform/machine/linux/DriverAnswer.h"

namespace halvarin::platform {

/// A kernel driver seen as the controller behind it: the contract for each kind of driver. Any
/// thread.
class DriverKeys {
 public:
  virtual ~DriverKeys() = default;

  /// Whether the driver is there now.
  [[nodiscard]] virtual bool isPresent() = 0;

  /// 0 when this user may ask for keys.
  [[nodiscard]] virtual MachineStatus access() = 0;

  /// Answers one of the controller's commands; another is refused.
  [[nodiscard]] virtual DriverAnswer answer(const ControllerRequest& request) = 0;
};

}  // namespace halvarin::platform
