#pragma once

/* The calls of the platform's device interface that this system uses, and those that other programs
 * use to reach the controller, by their own names, for computers that lack them. They ask the
 * current Machine (platform/machine/CurrentMachine.h). On macOS this folder is not in the include
 * path and the system's own header is found instead. */

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

#define HALVARIN_COMPAT __attribute__((visibility("default")))

/* Programs that know a time before IOConnectCallStructMethod ask for this name first. */
#define MAC_OS_X_VERSION_10_5 1050

typedef uint8_t UInt8;
typedef uint16_t UInt16;
typedef uint32_t UInt32;
/* The C of 1989 has no such type; the mark keeps its compilers silent. */
__extension__ typedef unsigned long long UInt64;
typedef int8_t SInt8;
typedef int16_t SInt16;
typedef int32_t SInt32;
__extension__ typedef long long SInt64;

typedef int kern_return_t;
typedef kern_return_t IOReturn;
typedef unsigned int mach_port_t;
typedef mach_port_t task_port_t;
typedef mach_port_t io_object_t;
typedef io_object_t io_service_t;
typedef io_object_t io_connect_t;
typedef io_object_t io_iterator_t;
typedef struct __CFDictionary* CFMutableDictionaryRef;
typedef const struct __CFDictionary* CFDictionaryRef;

#define KERN_SUCCESS 0
#define KERN_FAILURE 5
#define kIOReturnSuccess KERN_SUCCESS
#define kIOReturnError ((IOReturn)0xE00002BC)
#define kIOReturnNoMemory ((IOReturn)0xE00002BD)
#define kIOReturnNoResources ((IOReturn)0xE00002BE)
#define kIOReturnNoDevice ((IOReturn)0xE00002C0)
#define kIOReturnNotPrivileged ((IOReturn)0xE00002C1)
#define kIOReturnBadArgument ((IOReturn)0xE00002C2)
#define kIOReturnExclusiveAccess ((IOReturn)0xE00002C5)
#define kIOReturnUnsupported ((IOReturn)0xE00002C7)
#define kIOReturnInternalError ((IOReturn)0xE00002C9)
#define kIOReturnIOError ((IOReturn)0xE00002CA)
#define kIOReturnNotOpen ((IOReturn)0xE00002CD)
#define kIOReturnNotReadable ((IOReturn)0xE00002CE)
#define kIOReturnNotWritable ((IOReturn)0xE00002CF)
#define kIOReturnBusy ((IOReturn)0xE00002D5)
#define kIOReturnTimeout ((IOReturn)0xE00002D6)
#define kIOReturnNotReady ((IOReturn)0xE00002D8)
#define kIOReturnNotPermitted ((IOReturn)0xE00002E2)
#define kIOReturnNotFound ((IOReturn)0xE00002F0)
#define MACH_SEND_INVALID_DEST 0x10000003
#define MACH_PORT_NULL 0U
#define IO_OBJECT_NULL ((io_object_t)0)

/* Two names of the same default port. */
HALVARIN_COMPAT extern const mach_port_t kIOMasterPortDefault;
HALVARIN_COMPAT extern const mach_port_t kIOMainPortDefault;

/* The port behind those names; every bootstrap port leads to it. */
HALVARIN_COMPAT kern_return_t IOMasterPort(mach_port_t bootstrapPort, mach_port_t* mainPort);
HALVARIN_COMPAT kern_return_t IOMainPort(mach_port_t bootstrapPort, mach_port_t* mainPort);

HALVARIN_COMPAT extern mach_port_t mach_task_self_;
#define mach_task_self() mach_task_self_

/* A matching dictionary for services of a class; the caller owns one reference. */
HALVARIN_COMPAT CFMutableDictionaryRef IOServiceMatching(const char* name);

/* A service that matches, to be released with IOObjectRelease; 0 when there is none. Takes the
 * caller's reference of the dictionary in either case. */
HALVARIN_COMPAT io_service_t IOServiceGetMatchingService(mach_port_t mainPort,
                                                         CFDictionaryRef matching);

/* All services that match, to be had from an iterator, which is to be released with
 * IOObjectRelease; 0, with success, when there are none. Takes the caller's reference of the
 * dictionary. */
HALVARIN_COMPAT kern_return_t IOServiceGetMatchingServices(mach_port_t mainPort,
                                                           CFDictionaryRef matching,
                                                           io_iterator_t* existing);

/* The iterator's next service, to be released with IOObjectRelease; 0 after the last one. */
HALVARIN_COMPAT io_object_t IOIteratorNext(io_iterator_t iterator);

/* Opens a connection to a service. On failure the connection is left as it was. */
HALVARIN_COMPAT kern_return_t IOServiceOpen(io_service_t service, task_port_t owningTask,
                                            uint32_t type, io_connect_t* connect);

HALVARIN_COMPAT kern_return_t IOServiceClose(io_connect_t connect);

/* One synchronous call. On success the output's size is what was written. A call without output may
 * have null for both. */
HALVARIN_COMPAT kern_return_t IOConnectCallStructMethod(mach_port_t connection, uint32_t selector,
                                                        const void* inputStruct,
                                                        size_t inputStructCnt, void* outputStruct,
                                                        size_t* outputStructCnt);

HALVARIN_COMPAT kern_return_t IOObjectRelease(io_object_t object);

#ifdef __cplusplus
}
#endif
