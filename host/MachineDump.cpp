#include "host/MachineDump.h"

#include <IOKit/IOKitLib.h>
#include <sys/sysctl.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

#include "base/NumberText.h"
#include "base/ScopeGuard.h"
#include "base/Text.h"
#include "host/Exit.h"
#include "host/MachineChoice.h"
#include "platform/PowerSource.h"
#include "platform/machine/MachineFile.h"
#include "smc/KeyCode.h"
#include "smc/SMCCallRecord.h"

namespace halvarin::host {

namespace {

/// A connection of the program's own to the controller.
class Controller {
 public:
  explicit Controller(const Options& options) {
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
  ~Controller() { IOServiceClose(connection_); }
  Controller(const Controller&) = delete;
  Controller& operator=(const Controller&) = delete;

  /// One transfer; the codes of both records are wire integers.
  [[nodiscard]] kern_return_t call(const SMCCallRecord& request, SMCCallRecord& reply) const {
    reply = {};
    std::size_t replySize = sizeof reply;
    return IOConnectCallStructMethod(connection_, kSMCUserClientMethod, &request, sizeof request,
                                     &reply, &replySize);
  }

 private:
  io_connect_t connection_ = 0;
};

platform::FourBytes codeFromWire(std::uint32_t wire) {
  return std::bit_cast<platform::FourBytes>(swappedCode(wire));
}

/// What the controller says about a key, and its bytes.
platform::RecordedKey recordKey(const Controller& controller, std::uint32_t wireKey) {
  platform::RecordedKey key;
  key.code = codeFromWire(wireKey);
  SMCCallRecord request;
  SMCCallRecord reply;
  request.key = wireKey;
  request.command = kSMCCmdGetKeyInfo;
  key.status = controller.call(request, reply);
  if (key.status != 0) {
    return key;
  }
  key.type = codeFromWire(reply.keyInfo.dataType);
  key.sizeBytes = reply.keyInfo.dataSize;
  key.attributes = reply.keyInfo.dataAttributes;
  request.keyInfo.dataSize = reply.keyInfo.dataSize;
  request.command = kSMCCmdReadBytes;
  key.status = controller.call(request, reply);
  key.result = key.status == 0 ? reply.result : 0;
  if (key.status == 0 && key.result == 0) {
    const auto count = std::min<std::size_t>(key.sizeBytes, reply.bytes.size());
    key.bytes.assign(reply.bytes.begin(), reply.bytes.begin() + static_cast<std::ptrdiff_t>(count));
  }
  return key;
}

/// Ends the program: half a machine must not pass for a whole one.
[[noreturn]] void refuseShortened(std::size_t keys, kern_return_t status) {
  throw ExitError(Exit::noMachine, "the controller stopped answering after " +
                                       std::to_string(keys) + " keys (status " +
                                       hexText(static_cast<std::uint32_t>(status)) +
                                       "); nothing was written");
}

std::uint32_t keyCount(const Controller& controller) {
  const platform::RecordedKey key = recordKey(controller, swappedCode(recordInteger("#KEY")));
  if (key.status != 0) {
    refuseShortened(0, key.status);
  }
  std::uint32_t count = 0;
  for (const std::uint8_t byte : key.bytes) {
    count = (count << 8U) | byte;
  }
  return key.bytes.size() <= sizeof count ? count : 0;
}

std::vector<platform::RecordedKey> recordKeys(const Controller& controller) {
  std::vector<platform::RecordedKey> keys;
  SMCCallRecord request;
  SMCCallRecord reply;
  request.command = kSMCCmdReadKeyByIndex;
  const std::uint32_t count = keyCount(controller);
  for (std::uint32_t index = 0; index < count; ++index) {
    request.data32 = index;
    if (const kern_return_t status = controller.call(request, reply); status != 0) {
      refuseShortened(keys.size(), status);
    }
    if (reply.result == 0) {
      keys.push_back(recordKey(controller, reply.key));
    }
  }
  return keys;
}

std::uint32_t logicalProcessors() {
  std::int32_t count = 0;
  std::size_t length = sizeof count;
  const bool known = sysctlbyname("hw.logicalcpu", &count, &length, nullptr, 0) == 0;
  return known && count > 0 ? static_cast<std::uint32_t>(count) : 1;
}

}  // namespace

std::string systemText(const char* name) {
  std::size_t length = 0;
  if (sysctlbyname(name, nullptr, &length, nullptr, 0) != 0) {
    return {};
  }
  std::string text(length, '\0');
  if (sysctlbyname(name, text.data(), &length, nullptr, 0) != 0) {
    return {};
  }
  return std::string(trimmed(text.c_str()));
}

std::string dumpMachine(const Options& options) {
  const Controller controller(options);
  platform::RecordedMachine machine;
  machine.model = systemText("hw.model");
  machine.processor = systemText("machdep.cpu.brand_string");
  machine.logicalProcessors = logicalProcessors();
  machine.powerSource = platform::providingPowerSourceType();
  machine.keys = recordKeys(controller);
  return platform::writeMachineFile(machine);
}

}  // namespace halvarin::host
