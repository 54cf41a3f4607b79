/* The compat headers are plain C, like those they stand for: this file is compiled as C. */

#include <IOKit/IOKitLib.h>
#include <sys/sysctl.h>

int findServiceInC(const char* name);
int readLogicalProcessorsInC(void);

int findServiceInC(const char* name) {
  io_service_t service = IOServiceGetMatchingService(kIOMasterPortDefault, IOServiceMatching(name));
  return service == IO_OBJECT_NULL ? -1 : IOObjectRelease(service);
}

int readLogicalProcessorsInC(void) {
  int count = 0;
  size_t length = sizeof count;
  return sysctlbyname("hw.logicalcpu", &count, &length, NULL, 0) == 0 ? count : -1;
}
