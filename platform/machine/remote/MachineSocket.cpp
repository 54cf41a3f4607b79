#include "platform/machine/remote/MachineSocket.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

#include "platform/posix/PrivateDescriptors.h"

namespace halvarin::platform {

namespace {

constexpr std::size_t kLengthBytes = 4;

bool sendAll(int socket, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto sent = sendWithoutSignal(socket, bytes.data(), bytes.size());
    if (sent > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(sent));
    } else if (sent == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool receiveAll(int socket, std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t received = ::recv(socket, bytes.data(), bytes.size(), 0);
    if (received > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(received));
    } else if (received == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool isGreeting(const std::optional<MessageBytes>& message) {
  return message && std::equal(message->begin(), message->end(), kMachineGreeting.begin(),
                               kMachineGreeting.end());
}

}  // namespace

bool MachineSocket::send(std::span<const std::uint8_t> message) const {
  if (message.size() > kMostMessageBytes) {
    return false;
  }
  MessageBytes framed;
  framed.reserve(kLengthBytes + message.size());
  for (unsigned shift = 32; shift > 0;) {
    shift -= 8;
    framed.push_back(static_cast<std::uint8_t>(message.size() >> shift));
  }
  framed.insert(framed.end(), message.begin(), message.end());
  return sendAll(descriptor_.number(), framed);
}

std::optional<MessageBytes> MachineSocket::receive() const {
  std::array<std::uint8_t, kLengthBytes> head{};
  if (!receiveAll(descriptor_.number(), head)) {
    return std::nullopt;
  }
  std::size_t length = 0;
  for (const std::uint8_t byte : head) {
    length = (length << 8U) | byte;
  }
  if (length == 0 || length > kMostMessageBytes) {
    return std::nullopt;
  }
  MessageBytes message(length);
  if (!receiveAll(descriptor_.number(), message)) {
    return std::nullopt;
  }
  return message;
}

bool MachineSocket::limitWaits(std::chrono::milliseconds limit) const {
  timeval time{};
  const auto seconds = std::chrono::floor<std::chrono::seconds>(limit);
  time.tv_sec = seconds.count();
  time.tv_usec = static_cast<suseconds_t>(std::chrono::microseconds(limit - seconds).count());
  const int socket = descriptor_.number();
  return ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time) == 0 &&
         ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time) == 0;
}

void MachineSocket::shutDown() const {
  ::shutdown(descriptor_.number(), SHUT_RDWR);
}

std::variant<std::unique_ptr<MachineSocket>, std::string> connectMachineSocket(
    const std::string& path, std::chrono::milliseconds patience) {
  const auto address = SocketAddress::of(path);
  if (const auto* fault = std::get_if<std::string>(&address)) {
    return path + ": " + *fault;
  }
  auto socket = std::make_unique<MachineSocket>(newStreamSocket());
  if (!socket->limitWaits(patience)) {
    return path + ": " + systemReason(errno);
  }
  const int error = std::get<SocketAddress>(address).connect(socket->descriptor());
  if (error != 0) {
    // A full queue of waiting clients is told by this number, whose own text would mislead.
    return path + ": cannot connect: " +
           (error == EAGAIN ? "nobody is accepted there" : systemReason(error));
  }
  if (!isGreeting(socket->receive()) || !socket->limitWaits(std::chrono::milliseconds(0))) {
    return path + ": no machine is served there";
  }
  return socket;
}

}  // namespace halvarin::platform
