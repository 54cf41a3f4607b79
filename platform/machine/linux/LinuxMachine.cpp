#include "platform/machine/linux/LinuxMachine.h"

#include <IOKit/IOKitLib.h>
#include <unistd.h>

#include <utility>

#include "platform/machine/ControllerProtocol.h"
#include "platform/machine/linux/AppleSmcKeys.h"
#include "platform/machine/linux/HwmonKeys.h"
#include "platform/machine/linux/MacIdentity.h"
#include "platform/machine/linux/MainsPower.h"

namespace halvarin::platform {

namespace {

std::unique_ptr<DriverKeys> keysOf(const std::shared_ptr<FileTree>& files, const SmcDriver& driver,
                                   std::shared_ptr<Clock> clock) {
  if (driver.kind == SmcDriver::Kind::applesmc) {
    return std::make_unique<AppleSmcKeys>(files, driver, std::move(clock));
  }
  return std::make_unique<HwmonKeys>(files, driver);
}

Value textOrNothing(const std::string& text) {
  return text.empty() ? Value() : Value(text);
}

}  // namespace

LinuxMachine::LinuxMachine(std::shared_ptr<FileTree> files, const SmcDriver& driver,
                           std::shared_ptr<Clock> clock)
    : files_(std::move(files)), keys_(keysOf(files_, driver, std::move(clock))) {}

bool LinuxMachine::hasService(std::string_view serviceClass) {
  return serviceClass == "AppleSMC" && keys_->isPresent();
}

MachineStatus LinuxMachine::open(std::uint32_t /*type*/, std::uint32_t& connection) {
  if (!keys_->isPresent()) {
    return kIOReturnNoDevice;
  }
  const MachineStatus status = keys_->access();
  if (status == KERN_SUCCESS) {
    const MutexLock lock(mutex_);
    connection = ++lastConnection_;
    connections_.insert(connection);
  }
  return status;
}

MachineStatus LinuxMachine::call(std::uint32_t connection, std::uint32_t selector,
                                 std::span<const std::uint8_t> request,
                                 std::span<std::uint8_t> reply, std::size_t& replySize) {
  if (selector != kCallSelector) {
    return kIOReturnUnsupported;
  }
  if (request.size() != kCallBytes || reply.size() < kCallBytes) {
    return kIOReturnBadArgument;
  }
  if (!isOpen(connection)) {
    return MACH_SEND_INVALID_DEST;
  }
  const DriverAnswer answer = keys_->answer(decodeRequest(request.first<kCallBytes>()));
  if (answer.status == KERN_SUCCESS) {
    encodeReply(answer.reply, reply.first<kCallBytes>());
    replySize = kCallBytes;
  }
  return answer.status;
}

MachineStatus LinuxMachine::close(std::uint32_t connection) {
  const MutexLock lock(mutex_);
  return connections_.erase(connection) > 0 ? KERN_SUCCESS : MACH_SEND_INVALID_DEST;
}

Value LinuxMachine::setting(std::string_view name) {
  if (name == "hw.model") {
    return textOrNothing(modelIdentifier(*files_));
  }
  if (name == "machdep.cpu.brand_string") {
    return textOrNothing(processorName(*files_));
  }
  if (name != "hw.logicalcpu") {
    return {};
  }
  const long processors = sysconf(_SC_NPROCESSORS_ONLN);
  return processors > 0 ? Value(static_cast<std::int32_t>(processors)) : Value();
}

std::string LinuxMachine::powerSource() {
  return powerSourceOf(*files_);
}

bool LinuxMachine::isOpen(std::uint32_t connection) {
  const MutexLock lock(mutex_);
  return connections_.contains(connection);
}

}  // namespace halvarin::platform
