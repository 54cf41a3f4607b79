#pragma once

/* The platform's call for system settings, for computers that lack it or know other names. It asks
 * the current Machine. */

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Copies a setting: a text with its terminating zero, or an integer of 4 bytes. 0 on success, with
 * the size written; -1 and errno ENOENT for a name that the machine does not know, ENOMEM when the
 * buffer is too small (with the bytes that fit). Settings cannot be changed: a new value is EPERM.
 */
__attribute__((visibility("default"))) int sysctlbyname(const char* name, void* oldValue,
                                                        size_t* oldSize, void* newValue,
                                                        size_t newSize);

#ifdef __cplusplus
}
#endif
