#pragma once

#include <cstdint>
#include <string>

#include "platform/machine/ControllerProtocol.h"
#include "platform/machine/Machine.h"

// The lines of a machine's journal, one for each call.

namespace halvarin::platform {

/// "call 3 read TC0P size 2 -> 3A80" and so on: connection, command, what was asked, what came
/// back. A write shows the bytes it carries up to its size, a refusal its result byte, a failure
/// its status.
[[nodiscard]] std::string journalCall(std::uint32_t connection, const ControllerRequest& request,
                                      const ControllerReply& reply, MachineStatus status);

[[nodiscard]] std::string journalOpen(std::uint32_t type, std::uint32_t connection,
                                      MachineStatus status);
[[nodiscard]] std::string journalClose(std::uint32_t connection, MachineStatus status);

}  // namespace halvarin::platform
