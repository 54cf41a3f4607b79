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

extern "C" {

const mach_port_t kIOMasterPortDefault = MACH_PORT_NULL;
const mach_port_t kIOMainPortDefault = MACH_PORT_NULL;
mach_port_t mach_task_self_ = 1;

CFMutableDictionaryRef IOServiceMatching(const char* name) {
  handleLedger().countMatchingMade();
  return std::make_unique<__CFDictionary>(__CFDictionary{name}).release();
}

io_service_t IOServiceGetMatchingService(mach_port_t /*mainPort*/, CFDictionaryRef matching) {
  const std::unique_ptr<const __CFDictionary> taken(matching);
  if (!taken) {
    return IO_OBJECT_NULL;
  }
  handleLedger().countMatchingTaken();
  return currentMachine()->hasService(taken->serviceClass) ? handleLedger().takeService()
                                                           : IO_OBJECT_NULL;
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
  const std::span reply(static_cast<std::uint8_t*>(outputStruct), *outputStructCnt);
  return currentMachine()->call(connection, selector, request, reply, *outputStructCnt);
}

kern_return_t IOObjectRelease(io_object_t object) {
  return handleLedger().releaseService(object) ? KERN_SUCCESS : kIOReturnBadArgument;
}

}  // extern "C"
