#pragma once

/* The calls of the platform's device interface that this system uses, by their own names, for
 * computers that lack them. They ask the current Machine (platform/machine/CurrentMachine.h). On
 * macOS this folder is not in the include path and the system's own header is found instead. */

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define HALVARIN_COMPAT __attribute__((visibility("default")))

typedef int kern_return_t;
typedef unsigned int mach_port_t;
typedef mach_port_t task_port_t;
typedef mach_port_t io_object_t;
typedef io_object_t io_service_t;
typedef io_object_t io_connect_t;
typedef struct __CFDictionary* CFMutableDictionaryRef;
typedef const struct __CFDictionary* CFDictionaryRef;

#define KERN_SUCCESS 0
#define KERN_FAILURE 5
#define kIOReturnNoDevice ((kern_return_t)0xE00002C0)
#define kIOReturnNotPrivileged ((kern_return_t)0xE00002C1)
#define kIOReturnBadArgument ((kern_return_t)0xE00002C2)
#define kIOReturnUnsupported ((kern_return_t)0xE00002C7)
#define MACH_SEND_INVALID_DEST 0x10000003
#define MACH_PORT_NULL 0U
#define IO_OBJECT_NULL ((io_object_t)0)

/* Two names of the same default port. */
HALVARIN_COMPAT extern const mach_port_t kIOMasterPortDefault;
HALVARIN_COMPAT extern const mach_port_t kIOMainPortDefault;

HALVARIN_COMPAT extern mach_port_t mach_task_self_;
#define mach_task_self() mach_task_self_

/* A matching dictionary for services of a class; the caller owns one reference. */
HALVARIN_COMPAT CFMutableDictionaryRef IOServiceMatching(const char* name);

/* A service that matches, to be released with IOObjectRelease; 0 when there is none. Takes the
 * caller's reference of the dictionary in either case. */
HALVARIN_COMPAT io_service_t IOServiceGetMatchingService(mach_port_t mainPort,
                                                         CFDictionaryRef matching);

/* Opens a connection to a service. On failure the connection is left as it was. */
HALVARIN_COMPAT kern_return_t IOServiceOpen(io_service_t service, task_port_t owningTask,
                                            uint32_t type, io_connect_t* connect);

HALVARIN_COMPAT kern_return_t IOServiceClose(io_connect_t connect);

/* One synchronous call. On success the output's size is what was written. */
HALVARIN_COMPAT kern_return_t IOConnectCallStructMethod(mach_port_t connection, uint32_t selector,
                                                        const void* inputStruct,
                                                        size_t inputStructCnt, void* outputStruct,
                                                        size_t* outputStructCnt);

HALVARIN_COMPAT kern_return_t IOObjectRelease(io_object_t object);

#ifdef __cplusplus
}
#endif
