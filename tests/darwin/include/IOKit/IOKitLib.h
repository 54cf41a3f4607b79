#pragma once

#include <CoreFoundation/CFDictionary.h>
#include <IOKit/IOReturn.h>
#include <mach/mach.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef mach_port_t io_object_t;
typedef io_object_t io_connect_t;
typedef io_object_t io_service_t;

#define IO_OBJECT_NULL ((io_object_t)0)

extern const mach_port_t kIOMainPortDefault;
extern const mach_port_t kIOMasterPortDefault __attribute__((deprecated));

CFMutableDictionaryRef IOServiceMatching(const char* name);
io_service_t IOServiceGetMatchingService(mach_port_t mainPort, CFDictionaryRef matching);
kern_return_t IOServiceOpen(io_service_t service, task_port_t owningTask, uint32_t type,
                            io_connect_t* connect);
kern_return_t IOServiceClose(io_connect_t connect);
kern_return_t IOConnectCallStructMethod(mach_port_t connection, uint32_t selector,
                                        const void* inputStruct, size_t inputStructCnt,
                                        void* outputStruct, size_t* outputStructCnt);
kern_return_t IOObjectRelease(io_object_t object);

#ifdef __cplusplus
}
#endif
