#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFLocale.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef UInt32 CFStringEncoding;

typedef enum CFStringBuiltInEncodings : CFStringEncoding {
  kCFStringEncodingISOLatin1 = 0x0201,
  kCFStringEncodingUTF8 = 0x08000100
} CFStringBuiltInEncodings;

typedef CFOptionFlags CFStringCompareFlags;
enum : CFOptionFlags {
  kCFCompareCaseInsensitive = 1,
  kCFCompareNonliteral = 16,
  kCFCompareNumerically = 64,
  kCFCompareForcedOrdering = 512
};

CFTypeID CFStringGetTypeID(void);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFStringRef CFStringCreateWithCharactersNoCopy(CFAllocatorRef alloc, const UniChar* chars,
                                               CFIndex numChars,
                                               CFAllocatorRef contentsDeallocator);
CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef alloc, CFIndex maxLength,
                                             CFStringRef theString);
CFIndex CFStringGetLength(CFStringRef theString);
CFIndex CFStringGetBytes(CFStringRef theString, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen);
void CFStringLowercase(CFMutableStringRef theString, CFLocaleRef locale);
CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2,
                                   CFStringCompareFlags compareOptions);
CFComparisonResult CFStringCompareWithOptionsAndLocale(CFStringRef theString1,
                                                       CFStringRef theString2,
                                                       CFRange rangeToCompare,
                                                       CFStringCompareFlags compareOptions,
                                                       CFLocaleRef locale);

#ifdef __cplusplus
}
#endif
