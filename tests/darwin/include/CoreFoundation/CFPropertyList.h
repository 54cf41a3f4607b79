#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFData.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef CFOptionFlags CFPropertyListMutabilityOptions;
enum : CFOptionFlags {
  kCFPropertyListImmutable = 0,
  kCFPropertyListMutableContainers = 1 << 0,
  kCFPropertyListMutableContainersAndLeaves = 1 << 1
};

typedef enum CFPropertyListFormat : CFIndex {
  kCFPropertyListOpenStepFormat = 1,
  kCFPropertyListXMLFormat_v1_0 = 100,
  kCFPropertyListBinaryFormat_v1_0 = 200
} CFPropertyListFormat;

CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef allocator, CFDataRef data,
                                               CFOptionFlags options, CFPropertyListFormat* format,
                                               CFErrorRef* error);
CFDataRef CFPropertyListCreateData(CFAllocatorRef allocator, CFPropertyListRef propertyList,
                                   CFPropertyListFormat format, CFOptionFlags options,
                                   CFErrorRef* error);

#ifdef __cplusplus
}
#endif
