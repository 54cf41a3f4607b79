#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "base/Export.h"
#include "base/Value.h"

namespace halvarin::platform {

/// A status of the platform's calls; 0 is success.
using MachineStatus = std::int32_t;

/// What answers the platform's calls where the platform has none: the contract for a new body.
/// Every method may be called from any thread, at the same time.
class HALVARIN_EXPORT Machine {
 public:
  virtual ~Machine() = default;

  /// Whether a service of this class ("AppleSMC") exists now.
  [[nodiscard]] virtual bool hasService(std::string_view serviceClass) = 0;

  /// Opens a connection; `connection` becomes its number (never 0) on success only.
  [[nodiscard]] virtual MachineStatus open(std::uint32_t type, std::uint32_t& connection) = 0;

  /// One synchronous call of the service's client with structures in and out. `replySize` holds the
  /// reply's capacity and becomes the size written.
  [[nodiscard]] virtual MachineStatus call(std::uint32_t connection, std::uint32_t selector,
                                           std::span<const std::uint8_t> request,
                                           std::span<std::uint8_t> reply,
                                           std::size_t& replySize) = 0;

  [[nodiscard]] virtual MachineStatus close(std::uint32_t connection) = 0;

  /// A system setting by the platform's name ("hw.model", "hw.logicalcpu",
  /// "machdep.cpu.brand_string"): a text or an integer; nothing when the machine has none.
  [[nodiscard]] virtual Value setting(std::string_view name) = 0;

  /// The platform's name of what feeds the machine now, "AC Power" for example; "" when unknown.
  [[nodiscard]] virtual std::string powerSource() = 0;
};

}  // namespace halvarin::platform
