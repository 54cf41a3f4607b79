#include <IOKit/IOKitLib.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/machine/CurrentMachine.h"
#include "platform/machine/HandleLedger.h"

/// A matching dictionary holds nothing but the class name here.
struct __CFDictionary {  // NOLINT(bugprone-reserved-identifier): the platform's own name
  std::string serviceClass;
};

using halvarin::platform::currentMachine;
using halvarin::platform::handleLedger;

namespace {

/// What stands behind the default port's names: a port of its own, far from the numbers of
/// services.
constexpr mach_port_t kMainPort = 0x80000001;

/// Whether the machine has what a dictionary asks for; takes the dictionary.
bool takeMatching(CFDictionaryRef matching) {
  const std::unique_ptr<const __CFDictionary> taken(matching);
  if (!taken) {
    return false;
  }
  handleLedger().countMatchingTaken();
  return currentMachine()->hasService(taken->serviceClass);
}

}  // namespace

extern "C" {

const mach_port_t kIOMasterPortDefault = MACH_PORT_NULL;
const mach_port_t kIOMainPortDefault = MACH_PORT_NULL;
mach_port_t mach_task_self_ = 1;

kern_return_t IOMasterPort(mach_port_t bootstrapPort, mach_port_t* mainPort) {
  return IOMainPort(bootstrapPort, mainPort);
}

kern_return_t IOMainPort(mach_port_t /*bootstrapPort*/, mach_port_t* mainPort) {
  *mainPort = kMainPort;
  return KERN_SUCCESS;
}

CFMutableDictionaryRef IOServiceMatching(const char* name) {
  handleLedger().countMatchingMade();
  return std::make_unique<__CFDictionary>(__CFDictionary{name}).release();
}

io_service_t IOServiceGetMatchingService(mach_port_t /*mainPort*/, CFDictionaryRef matching) {
  return takeMatching(matching) ? handleLedger().takeService() : IO_OBJECT_NULL;
}

kern_return_t IOServiceGetMatchingServices(mach_port_t /*mainPort*/, CFDictionaryRef matching,
                                           io_iterator_t* existing) {
  if (matching == nullptr) {
    return kIOReturnBadArgument;
  }
  *existing = takeMatching(matching) ? handleLedger().takeIterator() : IO_OBJECT_NULL;
  return KERN_SUCCESS;
}

io_object_t IOIteratorNext(io_iterator_t iterator) {
  return handleLedger().takeNextService(iterator);
}

kern_return_t IOServiceOpen(io_service_t service, task_port_t /*owningTask*/, uint32_t type,
                            io_connect_t* connect) {
  if (!handleLedger().knowsService(service)) {
    return kIOReturnBadArgument;
  }
  const kern_return_t status = currentMachine()->open(type, *connect);
  if (status == KERN_SUCCESS) {
    handleLedger().countOpened();
  }
  return status;
}

kern_return_t IOServiceClose(io_connect_t connect) {
  const kern_return_t status = currentMachine()->close(connect);
  if (status == KERN_SUCCESS) {
    handleLedger().countClosed();
  }
  return status;
}

kern_return_t IOConnectCallStructMethod(mach_port_t connection, uint32_t selector,
                                        const void* inputStruct, size_t inputStructCnt,
                                        void* outputStruct, size_t* outputStructCnt) {
  const std::span request(static_cast<const std::uint8_t*>(inputStruct), inputStructCnt);
  size_t nothing = 0;
  size_t* const replySize = outputStructCnt == nullptr ? &nothing : outputStructCnt;
  const std::span reply(static_cast<std::uint8_t*>(outputStruct), *replySize);
  return currentMachine()->call(connection, selector, request, reply, *replySize);
}

kern_return_t IOObjectRelease(io_object_t object) {
  const bool wasOut =
      handleLedger().releaseService(object) || handleLedger().releaseIterator(object);
  return wasOut ? KERN_SUCCESS : kIOReturnBadArgument;
}

}  // extern "C"

namespace halvarin::platform {

bool machineMayBeChosen() {
  return true;
}

}  // namespace halvarin::platform
