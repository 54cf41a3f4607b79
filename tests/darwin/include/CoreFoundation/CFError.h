#pragma once

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

CFStringRef CFErrorCopyDescription(CFErrorRef err);

#ifdef __cplusplus
}
#endif
