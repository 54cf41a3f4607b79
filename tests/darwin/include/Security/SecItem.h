#pragma once

#include <Security/SecBase.h>

#ifdef __cplusplus
extern "C" {
#endif

extern const CFStringRef kSecAttrKeyType;
extern const CFStringRef kSecAttrKeySizeInBits;
extern const CFStringRef kSecAttrKeyTypeAES;

#ifdef __cplusplus
}
#endif
