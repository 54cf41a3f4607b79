#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/Value.h"
#include "platform/machine/Machine.h"

// What travels between a RemoteMachine and a MachineServer: the methods of Machine as messages. A
// message is a byte that tells its kind and then its fields, integers most significant byte first,
// texts and bytes behind their length in four bytes. The length of the message itself is the
// socket's business.

namespace halvarin::platform {

/// The server's first message on every connection: who it is and the version of these messages.
inline constexpr std::string_view kMachineGreeting = "Halvarin machine 1";

/// The longest message: a text of a setting has room a thousand times over, and a wrong length of a
/// stranger cannot ask for much memory.
inline constexpr std::size_t kMostMessageBytes = 65536;

/// The largest structure of a call in either direction: what the platform's own call carries
/// without setting up shared memory.
inline constexpr std::size_t kMostStructBytes = 4096;

using MessageBytes = std::vector<std::uint8_t>;

struct ServiceRequest {
  std::string serviceClass;
  friend bool operator==(const ServiceRequest&, const ServiceRequest&) = default;
};
struct OpenRequest {
  std::uint32_t type = 0;
  friend bool operator==(const OpenRequest&, const OpenRequest&) = default;
};
struct CallRequest {
  std::uint32_t connection = 0;
  std::uint32_t selector = 0;
  std::uint32_t replyCapacityBytes = 0;
  MessageBytes bytes;
  friend bool operator==(const CallRequest&, const CallRequest&) = default;
};
struct CloseRequest {
  std::uint32_t connection = 0;
  friend bool operator==(const CloseRequest&, const CloseRequest&) = default;
};
struct SettingRequest {
  std::string name;
  friend bool operator==(const SettingRequest&, const SettingRequest&) = default;
};
struct PowerSourceRequest {
  friend bool operator==(const PowerSourceRequest&, const PowerSourceRequest&) = default;
};
using MachineRequest = std::variant<ServiceRequest, OpenRequest, CallRequest, CloseRequest,
                                    SettingRequest, PowerSourceRequest>;

struct ServiceReply {
  bool exists = false;
  friend bool operator==(const ServiceReply&, const ServiceReply&) = default;
};
struct OpenReply {
  MachineStatus status = 0;
  std::uint32_t connection = 0;  // means something on success only
  friend bool operator==(const OpenReply&, const OpenReply&) = default;
};
struct CallReply {
  MachineStatus status = 0;
  MessageBytes bytes;  // what the machine wrote; empty unless the call succeeded
  friend bool operator==(const CallReply&, const CallReply&) = default;
};
struct CloseReply {
  MachineStatus status = 0;
  friend bool operator==(const CloseReply&, const CloseReply&) = default;
};
struct SettingReply {
  Value value;  // a text, an integer or nothing; a value of another kind travels as nothing
  friend bool operator==(const SettingReply&, const SettingReply&) = default;
};
struct PowerSourceReply {
  std::string name;
  friend bool operator==(const PowerSourceReply&, const PowerSourceReply&) = default;
};
using MachineReply =
    std::variant<ServiceReply, OpenReply, CallReply, CloseReply, SettingReply, PowerSourceReply>;

[[nodiscard]] MessageBytes encodeMessage(const MachineRequest& request);
[[nodiscard]] MessageBytes encodeMessage(const MachineReply& reply);

/// Absent when the bytes are not exactly one request, or it asks for more than kMostStructBytes.
[[nodiscard]] std::optional<MachineRequest> decodeRequestMessage(
    std::span<const std::uint8_t> message);
/// Absent when the bytes are not exactly one reply.
[[nodiscard]] std::optional<MachineReply> decodeReplyMessage(std::span<const std::uint8_t> message);

}  // namespace halvarin::platform
