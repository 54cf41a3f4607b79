#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>

#include "platform/machine/remote/MachineProtocol.h"
#include "platform/machine/remote/SocketAddress.h"

namespace halvarin::platform {

/// One end of a connection that carries messages, each behind its length in four bytes. One thread
/// at a time sends and receives.
class MachineSocket {
 public:
  explicit MachineSocket(ScopedDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

  /// Waits until the message is on its way. False when the other end is gone, or when the message
  /// is longer than kMostMessageBytes: then nothing was sent.
  [[nodiscard]] bool send(std::span<const std::uint8_t> message) const;

  /// Waits for the next message. Absent when the other end is gone, in the middle of a message too,
  /// or announces one that is empty or longer than kMostMessageBytes: nothing useful follows.
  [[nodiscard]] std::optional<MessageBytes> receive() const;

  /// From now on a single wait for the other end lasts that long and then counts as its end; 0 is
  /// without end, as at first. False, and nothing changed, when the system refuses.
  [[nodiscard]] bool limitWaits(std::chrono::milliseconds limit) const;

  /// Ends the traffic in both directions: the waits of both ends return. Any thread.
  void shutDown() const;

  [[nodiscard]] const ScopedDescriptor& descriptor() const { return descriptor_; }

 private:
  ScopedDescriptor descriptor_;
};

/// Connects to the server at a path and takes its greeting; else a line that names the path and the
/// reason. Waits at most `patience` at a time for one that accepts nobody or does not greet.
[[nodiscard]] std::variant<std::unique_ptr<MachineSocket>, std::string> connectMachineSocket(
    const std::string& path, std::chrono::milliseconds patience);

}  // namespace halvarin::platform
