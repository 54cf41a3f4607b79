#pragma once

#include <cstdint>

#include "host/Options.h"
#include "platform/machine/MachineFile.h"
#include "smc/SMCCallRecord.h"

namespace halvarin::host {

/// A connection of the program's own to the controller, for what the library does not tell. One
/// thread.
class Controller {
 public:
  /// Throws ExitError when there is no controller or it cannot be opened.
  explicit Controller(const Options& options);
  ~Controller();
  Controller(const Controller&) = delete;
  Controller& operator=(const Controller&) = delete;

  /// One transfer and its status; the codes of both records are wire integers.
  [[nodiscard]] std::int32_t call(const SMCCallRecord& request, SMCCallRecord& reply) const;

  /// What the controller says about a key, and its bytes: two transfers, one when it fails.
  [[nodiscard]] platform::RecordedKey key(std::uint32_t wireKey) const;

 private:
  std::uint32_t connection_ = 0;
};

}  // namespace halvarin::host
