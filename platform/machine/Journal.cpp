#include "platform/machine/Journal.h"

#include <algorithm>
#include <span>

#include "base/NumberText.h"

namespace halvarin::platform {

namespace {

std::string codeText(const FourBytes& code) {
  std::string text(code.begin(), code.end());
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == '\x7F'; }, '?');
  return text;
}

std::string bytesText(const ValueBytes& bytes, std::uint32_t size) {
  return hexBytes(std::span(bytes).first(std::min<std::size_t>(size, bytes.size())));
}

std::string asked(const ControllerRequest& request) {
  const std::string key = codeText(request.key);
  const std::string size = " size " + std::to_string(request.sizeBytes);
  switch (static_cast<Command>(request.command)) {
    case Command::read:
      return "read " + key + size;
    case Command::write:
      return "write " + key + size + " bytes " + bytesText(request.bytes, request.sizeBytes);
    case Command::keyByIndex:
      return "index " + std::to_string(request.index);
    case Command::keyInfo:
      return "info " + key;
  }
  return "command " + std::to_string(request.command);
}

std::string got(const ControllerRequest& request, const ControllerReply& reply) {
  if (reply.result != kResultOk) {
    return "result " + hexBytes(std::span(&reply.result, 1));
  }
  switch (static_cast<Command>(request.command)) {
    case Command::read:
      return bytesText(reply.bytes, request.sizeBytes);
    case Command::keyByIndex:
      return codeText(reply.key);
    case Command::keyInfo:
      return codeText(reply.type) + " " + std::to_string(reply.sizeBytes);
    default:
      return "done";
  }
}

std::string statusText(MachineStatus status) {
  return status == 0 ? "done" : "status " + hexText(static_cast<std::uint32_t>(status));
}

}  // namespace

std::string journalCall(std::uint32_t connection, const ControllerRequest& request,
                        const ControllerReply& reply, MachineStatus status) {
  return "call " + std::to_string(connection) + " " + asked(request) + " -> " +
         (status == 0 ? got(request, reply) : statusText(status));
}

std::string journalOpen(std::uint32_t type, std::uint32_t connection, MachineStatus status) {
  return "open type " + std::to_string(type) + " -> " +
         (status == 0 ? "connection " + std::to_string(connection) : statusText(status));
}

std::string journalClose(std::uint32_t connection, MachineStatus status) {
  return "close " + std::to_string(connection) + " -> " + statusText(status);
}

}  // namespace halvarin::platform
