#pragma once

#include "base/Export.h"

// The library's version, exported under plain C names for hosts that look them up.

namespace halvarin {

extern "C" {

HALVARIN_EXPORT extern const double HalvarinVersionNumber;

/// "@(#)PROGRAM:Halvarin  PROJECT:Brimvale-1" and a line feed, with the terminating zero.
HALVARIN_EXPORT extern const unsigned char HalvarinVersionString[42];

}  // extern "C"

}  // namespace halvarin
