#pragma once

#include <Security/SecBase.h>
#include <Security/SecTransform.h>

#ifdef __cplusplus
extern "C" {
#endif

SecTransformRef SecEncryptTransformCreate(SecKeyRef keyRef, CFErrorRef* error)
    __attribute__((deprecated));
SecTransformRef SecDecryptTransformCreate(SecKeyRef keyRef, CFErrorRef* error)
    __attribute__((deprecated));

#ifdef __cplusplus
}
#endif
