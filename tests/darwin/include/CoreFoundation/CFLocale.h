#pragma once

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef const struct __CFLocale* CFLocaleRef;

CFLocaleRef CFLocaleCopyCurrent(void);

#ifdef __cplusplus
}
#endif
