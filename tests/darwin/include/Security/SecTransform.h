#pragma once

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef CFTypeRef SecTransformRef;

extern const CFStringRef kSecTransformInputAttributeName;

Boolean SecTransformSetAttribute(SecTransformRef transformRef, CFStringRef key, CFTypeRef value,
                                 CFErrorRef* error) __attribute__((deprecated));
CFTypeRef SecTransformExecute(SecTransformRef transformRef, CFErrorRef* errorRef)
    __attribute__((deprecated));

#ifdef __cplusplus
}
#endif
