#pragma once

#include <mach/mach.h>

typedef kern_return_t IOReturn;

#define sys_iokit err_system(0x38)
#define sub_iokit_common err_sub(0)
#define iokit_common_err(code) (sys_iokit | sub_iokit_common | code)

#define kIOReturnSuccess KERN_SUCCESS
#define kIOReturnNoResources iokit_common_err(0x2be)
#define kIOReturnNoDevice iokit_common_err(0x2c0)
#define kIOReturnNotPrivileged iokit_common_err(0x2c1)
#define kIOReturnBadArgument iokit_common_err(0x2c2)
#define kIOReturnUnsupported iokit_common_err(0x2c7)
#define kIOReturnBusy iokit_common_err(0x2d5)
#define kIOReturnNotPermitted iokit_common_err(0x2e2)
