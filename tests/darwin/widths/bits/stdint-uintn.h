/* In the place of the C library's own: macOS has long long for these, and long beside it. */

#ifndef _BITS_STDINT_UINTN_H
#define _BITS_STDINT_UINTN_H 1

typedef unsigned char uint8_t;
typedef unsigned short uint16_t;
typedef unsigned int uint32_t;
typedef unsigned long long uint64_t;

#endif
