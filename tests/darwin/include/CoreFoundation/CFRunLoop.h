#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFDate.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef CFStringRef CFRunLoopMode;

typedef enum CFRunLoopRunResult : SInt32 {
  kCFRunLoopRunFinished = 1,
  kCFRunLoopRunStopped = 2,
  kCFRunLoopRunTimedOut = 3,
  kCFRunLoopRunHandledSource = 4
} CFRunLoopRunResult;

extern const CFRunLoopMode kCFRunLoopDefaultMode;

CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled);

#ifdef __cplusplus
}
#endif
