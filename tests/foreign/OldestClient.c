/* A client in the C of 1989: the headers must give it no warning. */

#include <IOKit/IOKitLib.h>

UInt64 largest(void);

UInt64 largest(void) {
  return ~(UInt64)0;
}
