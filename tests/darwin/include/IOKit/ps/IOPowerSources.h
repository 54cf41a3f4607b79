#pragma once

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

CFStringRef IOPSGetProvidingPowerSourceType(CFTypeRef ps_snapshot);

#ifdef __cplusplus
}
#endif
