#include "host/Controller.h"

#include <IOKit/IOKitLib.h>

#include <algorithm>
#include <bit>

#include "base/ScopeGuard.h"
#include "host/MachineChoice.h"
#include "smc/KeyCode.h"

namespace halvarin::host {

namespace {

platform::FourBytes codeFromWire(std::uint32_t wire) {
  return std::bit_cast<platform::FourBytes>(swappedCode(wire));
}

}  // namespace

Controller::Controller(const Options& options) {
  const io_service_t service =
      IOServiceGetMatchingService(kIOMainPortDefault, IOServiceMatching("AppleSMC"));
  if (service == IO_OBJECT_NULL) {
    refuseWithoutController(options);
  }
  const ScopeGuard release([service] { IOObjectRelease(service); });
  const kern_return_t status = IOServiceOpen(service, mach_task_self(), 0, &connection_);
  if (status != KERN_SUCCESS) {
    refuseUnopened(options, status);
  }
}

Controller::~Controller() {
  IOServiceClose(connection_);
}

std::int32_t Controller::call(const SMCCallRecord& request, SMCCallRecord& reply) const {
  reply = {};
  std::size_t replySize = sizeof reply;
  return IOConnectCallStructMethod(connection_, kSMCUserClientMethod, &request, sizeof request,
                                   &reply, &replySize);
}

platform::RecordedKey Controller::key(std::uint32_t wireKey) const {
  platform::RecordedKey key;
  key.code = codeFromWire(wireKey);
  SMCCallRecord request;
  SMCCallRecord reply;
  request.key = wireKey;
  request.command = kSMCCmdGetKeyInfo;
  key.status = call(request, reply);
  if (key.status != 0) {
    return key;
  }
  key.type = codeFromWire(reply.keyInfo.dataType);
  key.sizeBytes = reply.keyInfo.dataSize;
  key.attributes = reply.keyInfo.dataAttributes;
  request.keyInfo.dataSize = reply.keyInfo.dataSize;
  request.command = kSMCCmdReadBytes;
  key.status = call(request, reply);
  key.result = key.status == 0 ? reply.result : 0;
  if (key.status == 0 && key.result == 0) {
    const auto count = std::min<std::size_t>(key.sizeBytes, reply.bytes.size());
    key.bytes.assign(reply.bytes.begin(), reply.bytes.begin() + static_cast<std::ptrdiff_t>(count));
  }
  return key;
}

}  // namespace halvarin::host
