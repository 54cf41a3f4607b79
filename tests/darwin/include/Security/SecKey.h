#pragma once

#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFDictionary.h>
#include <Security/SecBase.h>

#ifdef __cplusplus
extern "C" {
#endif

SecKeyRef SecKeyCreateFromData(CFDictionaryRef parameters, CFDataRef keyData, CFErrorRef* error)
    __attribute__((deprecated));

#ifdef __cplusplus
}
#endif
