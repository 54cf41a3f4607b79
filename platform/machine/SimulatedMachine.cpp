#include "platform/machine/SimulatedMachine.h"

#include <IOKit/IOKitLib.h>

#include <algorithm>
#include <utility>

#include "platform/machine/Journal.h"
#include "platform/machine/ReadingCodec.h"
#include "platform/machine/ReadingMotion.h"
#include "platform/machine/fans/FanKeys.h"
#include "platform/machine/fans/SimulatedFans.h"

namespace halvarin::platform {

namespace {

Simulation withClock(Simulation simulation) {
  if (!simulation.clock) {
    simulation.clock = std::make_shared<ScaledClock>();
  }
  return simulation;
}

}  // namespace

SimulatedMachine::SimulatedMachine(RecordedMachine machine, Simulation simulation)
    : model_(std::move(machine.model)),
      processor_(std::move(machine.processor)),
      logicalProcessors_(machine.logicalProcessors),
      powerSource_(std::move(machine.powerSource)),
      simulation_(withClock(std::move(simulation))),
      start_(simulation_.clock->now()),
      keys_(std::move(machine.keys)),
      fans_(std::make_unique<SimulatedFans>(keys_, simulation_.fanFaults,
                                            simulation_.readingsMove)) {}

SimulatedMachine::~SimulatedMachine() = default;

bool SimulatedMachine::setReading(std::string_view key, double number) {
  const MutexLock lock(mutex_);
  RecordedKey* recorded = keys_.find(fourBytes(key));
  if (recorded == nullptr || key.size() != recorded->code.size()) {
    return false;
  }
  auto bytes = encodeReading(recorded->type, recorded->sizeBytes, number);
  if (!bytes) {
    return false;
  }
  fans_->moveTo(age());
  const auto before = std::exchange(recorded->bytes, std::move(*bytes));
  recorded->result = kResultOk;
  recorded->status = 0;
  keys_.hold(recorded->code);
  fans_->keySet(*recorded, before);
  return true;
}

std::uint64_t SimulatedMachine::transferCount() {
  const MutexLock lock(mutex_);
  return transfers_;
}

bool SimulatedMachine::hasService(std::string_view serviceClass) {
  const MutexLock lock(mutex_);
  return serviceClass == "AppleSMC" && !isGone();
}

MachineStatus SimulatedMachine::open(std::uint32_t type, std::uint32_t& connection) {
  const MutexLock lock(mutex_);
  const MachineStatus status = isGone() ? kIOReturnNoDevice : KERN_SUCCESS;
  if (status == KERN_SUCCESS) {
    connection = ++lastConnection_;
    connections_.insert(connection);
  }
  note(journalOpen(type, connection, status));
  return status;
}

MachineStatus SimulatedMachine::call(std::uint32_t connection, std::uint32_t selector,
                                     std::span<const std::uint8_t> request,
                                     std::span<std::uint8_t> reply, std::size_t& replySize) {
  if (selector != kCallSelector) {
    return kIOReturnUnsupported;
  }
  if (request.size() != kCallBytes || reply.size() < kCallBytes) {
    return kIOReturnBadArgument;
  }
  if (simulation_.latency > Clock::Duration::zero()) {
    simulation_.clock->sleepFor(simulation_.latency);
  }
  const ControllerRequest decoded = decodeRequest(request.first<kCallBytes>());
  const MutexLock lock(mutex_);
  if (++transfers_ == 1) {
    fans_->begin(age());
  }
  ControllerReply answered;
  const MachineStatus status =
      connections_.contains(connection) ? faultFor(decoded) : MACH_SEND_INVALID_DEST;
  if (status == KERN_SUCCESS) {
    answered = answer(decoded);
    encodeReply(answered, reply.first<kCallBytes>());
    replySize = kCallBytes;
  }
  if (simulation_.journal) {
    note(journalCall(connection, decoded, answered, status));
  }
  return status;
}

MachineStatus SimulatedMachine::close(std::uint32_t connection) {
  const MutexLock lock(mutex_);
  const MachineStatus status =
      connections_.erase(connection) > 0 ? KERN_SUCCESS : MACH_SEND_INVALID_DEST;
  note(journalClose(connection, status));
  return status;
}

Value SimulatedMachine::setting(std::string_view name) {
  if (name == "hw.model") {
    return model_;
  }
  if (name == "machdep.cpu.brand_string") {
    return processor_;
  }
  return name == "hw.logicalcpu" ? Value(logicalProcessors_) : Value();
}

std::string SimulatedMachine::powerSource() {
  return powerSource_;
}

bool SimulatedMachine::isGone() const {
  return simulation_.vanishAfter && transfers_ >= *simulation_.vanishAfter;
}

MachineStatus SimulatedMachine::faultFor(const ControllerRequest& request) {
  if (simulation_.vanishAfter && transfers_ > *simulation_.vanishAfter) {
    return kIOReturnNoDevice;
  }
  for (const TransferFault& fault : simulation_.faults) {
    // A request by index names no key: its key field is left over from an earlier request.
    const bool namesKey = request.command != static_cast<std::uint8_t>(Command::keyByIndex);
    const bool fits = (!fault.key || (namesKey && *fault.key == request.key)) &&
                      (!fault.command || *fault.command == request.command) &&
                      transfers_ >= fault.firstCall && transfers_ <= fault.lastCall;
    if (fits) {
      return fault.status;
    }
  }
  // Keys that the platform itself could not transfer when the machine was recorded.
  const RecordedKey* key = request.command == static_cast<std::uint8_t>(Command::read)
                               ? keys_.find(request.key)
                               : nullptr;
  return key != nullptr ? key->status : KERN_SUCCESS;
}

ControllerReply SimulatedMachine::answer(const ControllerRequest& request) {
  switch (static_cast<Command>(request.command)) {
    case Command::read:
      return read(request);
    case Command::write:
      return write(request);
    default:
      return keys_.answer(request);
  }
}

ControllerReply SimulatedMachine::read(const ControllerRequest& request) {
  if (fans_->move(request.key)) {
    fans_->moveTo(age());
  }
  ControllerReply reply = keys_.answer(request);
  if (simulation_.readingsMove && reply.result == kResultOk && !keys_.isHeld(request.key)) {
    const RecordedKey* key = keys_.find(request.key);
    const auto moved = movedReading(*key, age());
    std::copy_n(moved.begin(), std::min(moved.size(), reply.bytes.size()), reply.bytes.begin());
  }
  return reply;
}

ControllerReply SimulatedMachine::write(const ControllerRequest& request) {
  RecordedKey* key = keys_.find(request.key);
  if (key == nullptr) {
    return keys_.answer(request);
  }
  fans_->moveTo(age());
  const auto before = key->bytes;
  const ControllerReply reply = keys_.answer(request);
  if (reply.result == kResultOk) {
    fans_->keyWritten(*key, before);
  }
  return reply;
}

void SimulatedMachine::note(std::string_view line) {
  if (simulation_.journal) {
    simulation_.journal(line);
  }
}

}  // namespace halvarin::platform
