#pragma once

#include "platform/machine/Machine.h"

namespace halvarin::platform {

/// A computer without a System Management Controller: no service, no model. It knows its number of
/// logical processors.
class BareComputer : public Machine {
 public:
  [[nodiscard]] bool hasService(std::string_view serviceClass) override;
  [[nodiscard]] MachineStatus open(std::uint32_t type, std::uint32_t& connection) override;
  [[nodiscard]] MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                   std::span<const std::uint8_t> request,
                                   std::span<std::uint8_t> reply, std::size_t& replySize) override;
  [[nodiscard]] MachineStatus close(std::uint32_t connection) override;
  [[nodiscard]] Value setting(std::string_view name) override;
  [[nodiscard]] std::string powerSource() override;
};

}  // namespace halvarin::platform
