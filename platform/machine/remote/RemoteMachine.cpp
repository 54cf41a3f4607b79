#include "platform/machine/remote/RemoteMachine.h"

#include <IOKit/IOKitLib.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

#include "platform/machine/remote/MachineProtocol.h"
#include "platform/machine/remote/MachineSocket.h"

namespace halvarin::platform {

namespace {

/// A server that runs greets within milliseconds, on a busy computer within a second or two.
constexpr std::chrono::seconds kGreetingPatience{10};

// Whether a reply of the right kind can be the answer of a machine.

template <typename Request, typename Reply>
bool isPossible(const Request& /*request*/, const Reply& /*reply*/) {
  return true;
}

bool isPossible(const OpenRequest& /*request*/, const OpenReply& reply) {
  return reply.status != KERN_SUCCESS || reply.connection != 0;
}

bool isPossible(const CallRequest& request, const CallReply& reply) {
  return reply.bytes.size() <= request.replyCapacityBytes;
}

}  // namespace

std::variant<std::shared_ptr<RemoteMachine>, std::string> RemoteMachine::connect(
    const std::string& path) {
  auto connected = connectMachineSocket(path, kGreetingPatience);
  if (auto* fault = std::get_if<std::string>(&connected)) {
    return std::move(*fault);
  }
  return std::make_shared<RemoteMachine>(
      std::get<std::unique_ptr<MachineSocket>>(std::move(connected)));
}

RemoteMachine::RemoteMachine(std::unique_ptr<MachineSocket> socket) : socket_(std::move(socket)) {}

RemoteMachine::~RemoteMachine() = default;

template <typename Reply, typename Request>
std::optional<Reply> RemoteMachine::exchange(const Request& request) {
  const MessageBytes message = encodeMessage(MachineRequest(request));
  const MutexLock lock(mutex_);
  if (!socket_ || message.size() > kMostMessageBytes) {
    return std::nullopt;
  }
  if (socket_->send(message)) {
    if (const auto answered = socket_->receive()) {
      auto decoded = decodeReplyMessage(*answered);
      auto* reply = decoded ? std::get_if<Reply>(&*decoded) : nullptr;
      if (reply != nullptr && isPossible(request, *reply)) {
        return std::move(*reply);
      }
    }
  }
  socket_.reset();
  return std::nullopt;
}

bool RemoteMachine::hasService(std::string_view serviceClass) {
  const auto reply = exchange<ServiceReply>(ServiceRequest{std::string(serviceClass)});
  return reply && reply->exists;
}

MachineStatus RemoteMachine::open(std::uint32_t type, std::uint32_t& connection) {
  const auto reply = exchange<OpenReply>(OpenRequest{type});
  if (reply && reply->status == KERN_SUCCESS) {
    connection = reply->connection;
  }
  return reply ? reply->status : kIOReturnNoDevice;
}

MachineStatus RemoteMachine::call(std::uint32_t connection, std::uint32_t selector,
                                  std::span<const std::uint8_t> request,
                                  std::span<std::uint8_t> reply, std::size_t& replySize) {
  if (request.size() > kMostStructBytes) {
    return kIOReturnBadArgument;
  }
  const auto capacity = static_cast<std::uint32_t>(std::min(reply.size(), kMostStructBytes));
  const auto answered = exchange<CallReply>(
      CallRequest{connection, selector, capacity, {request.begin(), request.end()}});
  if (!answered) {
    return kIOReturnNoDevice;
  }
  if (answered->status == KERN_SUCCESS) {
    std::copy(answered->bytes.begin(), answered->bytes.end(), reply.begin());
    replySize = answered->bytes.size();
  }
  return answered->status;
}

MachineStatus RemoteMachine::close(std::uint32_t connection) {
  const auto reply = exchange<CloseReply>(CloseRequest{connection});
  return reply ? reply->status : kIOReturnNoDevice;
}

Value RemoteMachine::setting(std::string_view name) {
  const auto reply = exchange<SettingReply>(SettingRequest{std::string(name)});
  return reply ? reply->value : Value();
}

std::string RemoteMachine::powerSource() {
  const auto reply = exchange<PowerSourceReply>(PowerSourceRequest{});
  return reply ? reply->name : std::string();
}

}  // namespace halvarin::platform
