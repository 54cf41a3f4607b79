#pragma once

#include <CoreFoundation/CFBase.h>

typedef struct __SecKey* SecKeyRef;
