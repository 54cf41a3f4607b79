/* In the place of the C library's own: macOS has long long for these, and long beside it. */

#ifndef _BITS_STDINT_INTN_H
#define _BITS_STDINT_INTN_H 1

typedef signed char int8_t;
typedef short int16_t;
typedef int int32_t;
typedef long long int64_t;

#endif
