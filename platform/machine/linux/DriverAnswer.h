#pragma once

#include <cstdint>

#include "platform/machine/ControllerProtocol.h"
#include "platform/machine/Machine.h"

// What becomes of the system's errors on the way to a caller who speaks the controller's protocol.

namespace halvarin::platform {

/// The controller's result bytes for commands that it does not take.
inline constexpr std::uint8_t kResultNotWritable = 0x86;
inline constexpr std::uint8_t kResultBadArgument = 0x89;

/// Statuses that only a driver gives: a transfer that failed, and one that could not be done for
/// what others do at the same time.
inline constexpr auto kStatusTransferFailed = static_cast<MachineStatus>(0xE00002CA);
inline constexpr auto kStatusBusy = static_cast<MachineStatus>(0xE00002D5);

/// What a driver answers to a request: a reply, or a status of the platform and no reply.
struct DriverAnswer {
  MachineStatus status = 0;
  ControllerReply reply;
};

/// The platform's status for an error of the system: not privileged, no device, no resources, busy,
/// or a transfer that failed. 0 for 0. What nobody may do this user may not do either.
[[nodiscard]] MachineStatus statusOf(int error);

[[nodiscard]] DriverAnswer failure(int error);
[[nodiscard]] DriverAnswer refusal(std::uint8_t result);

/// The answer to a write that gave this error (those of FanFiles). What nobody may write, what is
/// not there to be written, and what does not hold what was written, is the controller's refusal;
/// what this user may not write is the platform's.
[[nodiscard]] DriverAnswer writeAnswer(int error);

/// The same for what decides who commands a fan: a mode that was written and is not shown is a
/// transfer that failed. The result byte of a refusal is seen by few, and whoever hands a fan back
/// has to learn that it is still forced.
[[nodiscard]] DriverAnswer modeAnswer(int error);

}  // namespace halvarin::platform
