#pragma once

#include <cstdint>

#include "base/Export.h"
#include "smc/SMCCallRecord.h"

// Transfers on the process's one shared connection to the controller's user client.

namespace halvarin {

/// One synchronous transfer on the shared connection; the platform's status. Request and reply hold
/// codes as record integers: the request's key is turned for the wire and back, so the caller's
/// request is unchanged, and the reply's key and type are turned into record order. The reply's
/// `result` is not looked at: what the controller itself refuses still counts as a success. Any
/// thread.
[[nodiscard]] HALVARIN_EXPORT std::int32_t callSMC(SMCCallRecord& request, SMCCallRecord& reply);

/// The shared connection's number, 0 for none. Only QXSMCInterface opens and closes it.
void setSharedConnection(std::uint32_t connection);
[[nodiscard]] std::uint32_t sharedConnection();

}  // namespace halvarin
