#include "platform/machine/BareComputer.h"

#include <IOKit/IOKitLib.h>

#include <thread>

namespace halvarin::platform {

bool BareComputer::hasService(std::string_view /*serviceClass*/) {
  return false;
}

MachineStatus BareComputer::open(std::uint32_t /*type*/, std::uint32_t& /*connection*/) {
  return kIOReturnNoDevice;
}

MachineStatus BareComputer::call(std::uint32_t /*connection*/, std::uint32_t /*selector*/,
                                 std::span<const std::uint8_t> /*request*/,
                                 std::span<std::uint8_t> /*reply*/, std::size_t& /*replySize*/) {
  return MACH_SEND_INVALID_DEST;
}

MachineStatus BareComputer::close(std::uint32_t /*connection*/) {
  return MACH_SEND_INVALID_DEST;
}

Value BareComputer::setting(std::string_view name) {
  return name == "hw.logicalcpu" ? Value(std::thread::hardware_concurrency()) : Value();
}

std::string BareComputer::powerSource() {
  return {};
}

}  // namespace halvarin::platform
