/* The compat headers are plain C, like those they stand for: this file is compiled as C. */

#include <IOKit/IOKitLib.h>
#include <sys/sysctl.h>

int findServiceInC(const char* name);
int readLogicalProcessorsInC(void);
int countServicesInC(const char* name);

/* The types by which such programs lay out the 80 bytes. */
_Static_assert(sizeof(UInt8) == 1 && sizeof(UInt16) == 2 && sizeof(UInt32) == 4 &&
                   sizeof(UInt64) == 8,
               "unsigned types of the platform");
_Static_assert(sizeof(SInt8) == 1 && sizeof(SInt16) == 2 && sizeof(SInt32) == 4 &&
                   sizeof(SInt64) == 8,
               "signed types of the platform");
#if !MAC_OS_X_VERSION_10_5
#error "a program would take this for a system without IOConnectCallStructMethod"
#endif

int findServiceInC(const char* name) {
  io_service_t service = IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceMatching(name));
  return service == IO_OBJECT_NULL ? -1 : IOObjectRelease(service);
}

int readLogicalProcessorsInC(void) {
  int count = 0;
  size_t length = sizeof count;
  return sysctlbyname("hw.logicalcpu", &count, &length, NULL, 0) == 0 ? count : -1;
}

int countServicesInC(const char* name) {
  mach_port_t port = MACH_PORT_NULL;
  io_iterator_t iterator = IO_OBJECT_NULL;
  io_object_t service;
  int count = 0;
  if (IOMasterPort(MACH_PORT_NULL, &port) != kIOReturnSuccess ||
      IOServiceGetMatchingServices(port, IOServiceMatching(name), &iterator) != kIOReturnSuccess) {
    return -1;
  }
  while ((service = IOIteratorNext(iterator)) != IO_OBJECT_NULL) {
    ++count;
    IOObjectRelease(service);
  }
  IOObjectRelease(iterator);
  return count;
}
