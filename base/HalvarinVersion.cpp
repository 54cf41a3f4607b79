#include "base/HalvarinVersion.h"

namespace halvarin {

extern "C" {

const double HalvarinVersionNumber = 1.0;
const unsigned char HalvarinVersionString[42] = "@(#)PROGRAM:Halvarin  PROJECT:Brimvale-1\n";

}  // extern "C"

}  // namespace halvarin
