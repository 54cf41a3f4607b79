#pragma once

/* Names that the system's headers put into the global namespace, for the clashes alone that they
 * could cause. */

typedef unsigned char Boolean;
typedef unsigned char UInt8;
typedef signed char SInt8;
typedef unsigned short UInt16;
typedef signed short SInt16;
typedef unsigned int UInt32;
typedef signed int SInt32;
typedef unsigned long long UInt64;
typedef signed long long SInt64;
typedef UInt8 Byte;
typedef SInt8 SignedByte;
typedef UInt8 Style;
typedef SInt32 Duration;
typedef long Size;
typedef SInt32 OSStatus;
typedef UInt16 UniChar;

struct Point {
  short v;
  short h;
};
typedef struct Point Point;

#ifndef nil
#define nil nullptr
#endif
