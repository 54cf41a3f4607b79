#pragma once

#include <mach-o/loader.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

uint8_t* getsectiondata(const struct mach_header_64* mhp, const char* segname, const char* sectname,
                        unsigned long* size);

#ifdef __cplusplus
}
#endif
