#include "host/MachineDump.h"

#include <sys/sysctl.h>

#include <cstdint>
#include <vector>

#include "base/NumberText.h"
#include "base/Text.h"
#include "host/Controller.h"
#include "host/Exit.h"
#include "platform/PowerSource.h"
#include "platform/machine/MachineFile.h"
#include "smc/KeyCode.h"
#include "smc/SMCCallRecord.h"

namespace halvarin::host {

namespace {

/// Ends the program: half a machine must not pass for a whole one.
[[noreturn]] void refuseShortened(std::size_t keys, std::int32_t status) {
  throw ExitError(Exit::noMachine, "the controller stopped answering after " +
                                       std::to_string(keys) + " keys (status " +
                                       hexText(static_cast<std::uint32_t>(status)) +
                                       "); nothing was written");
}

std::uint32_t keyCount(const Controller& controller) {
  const platform::RecordedKey key = controller.key(swappedCode(recordInteger("#KEY")));
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
    if (const std::int32_t status = controller.call(request, reply); status != 0) {
      refuseShortened(keys.size(), status);
    }
    if (reply.result == 0) {
      keys.push_back(controller.key(reply.key));
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
