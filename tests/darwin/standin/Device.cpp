#include <IOKit/IOKitLib.h>
#include <IOKit/ps/IOPowerSources.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <span>
#include <string>

#include "platform/machine/CurrentMachine.h"
#include "platform/machine/HandleLedger.h"
#include "tests/darwin/standin/Objects.h"

using halvarin::platform::currentMachine;
using halvarin::platform::handleLedger;
using halvarin::standin::newText;
using halvarin::standin::refuse;
using halvarin::standin::utf8Of;

namespace {

constexpr const char16_t* kClassEntry = u"IOProviderClass";

}  // namespace

extern "C" {

const mach_port_t kIOMainPortDefault = MACH_PORT_NULL;
const mach_port_t kIOMasterPortDefault = MACH_PORT_NULL;
mach_port_t mach_task_self_ = 1;

CFMutableDictionaryRef IOServiceMatching(const char* name) {
  const CFMutableDictionaryRef matching = CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
  const CFStringRef key = newText(std::u16string(kClassEntry));
  const CFStringRef value = newText(std::string_view(name));
  CFDictionarySetValue(matching, key, value);
  CFRelease(key);
  CFRelease(value);
  return matching;
}

io_service_t IOServiceGetMatchingService(mach_port_t mainPort, CFDictionaryRef matching) {
  if (mainPort != MACH_PORT_NULL) {
    refuse("another port than the default one");
  }
  const auto found = matching->entries.find(kClassEntry);
  const std::string name = utf8Of(static_cast<CFStringRef>(found->second.value));
  CFRelease(matching);
  return currentMachine()->hasService(name) ? handleLedger().takeService() : IO_OBJECT_NULL;
}

kern_return_t IOServiceOpen(io_service_t service, task_port_t owningTask, uint32_t type,
                            io_connect_t* connect) {
  if (!handleLedger().knowsService(service) || owningTask != mach_task_self()) {
    return kIOReturnBadArgument;
  }
  return currentMachine()->open(type, *connect);
}

kern_return_t IOServiceClose(io_connect_t connect) {
  return currentMachine()->close(connect);
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

// The text stays the system's: one for each answer there is, kept for good.
CFStringRef IOPSGetProvidingPowerSourceType(CFTypeRef ps_snapshot) {
  if (ps_snapshot != nullptr) {
    refuse("snapshots of the power sources");
  }
  static std::mutex mutex;
  static auto* const texts = new std::map<std::string, CFStringRef>;
  const std::string source = currentMachine()->powerSource();
  if (source.empty()) {
    return nullptr;
  }
  const std::lock_guard lock(mutex);
  const auto [found, isNew] = texts->try_emplace(source, nullptr);
  if (isNew) {
    found->second = newText(source);
  }
  return found->second;
}

}  // extern "C"
