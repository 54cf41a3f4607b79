#pragma once

/* The system's own device interface. macOS 11 lacks the newer name of its default port: there the
 * name would be a symbol without an address. A null port means the default one in every call. */

#pragma GCC system_header
#include_next <IOKit/IOKitLib.h>

#if !defined(__MAC_OS_X_VERSION_MIN_REQUIRED) || __MAC_OS_X_VERSION_MIN_REQUIRED < 120000
#define kIOMainPortDefault ((mach_port_t)MACH_PORT_NULL)
#endif
