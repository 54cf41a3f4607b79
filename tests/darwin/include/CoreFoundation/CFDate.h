#pragma once

#include <CoreFoundation/CFBase.h>

typedef double CFTimeInterval;
