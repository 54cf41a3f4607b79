#pragma once

#import <Foundation/Foundation.h>

#include <string_view>

// Memory, here and in every Objective-C++ file: automatic reference counting (-fobjc-arc). Objects
// are never retained or released by hand. What calls Foundation does so inside a pool of its own
// (@autoreleasepool): the threads that come here need not have one, and what Foundation leaves to a
// pool would stay for good.

namespace halvarin::platform {

/// Bytes that are not UTF-8 count as one character each. Never nil.
inline NSString* foundationText(std::string_view bytes) {
  NSString* const text = [[NSString alloc] initWithBytes:bytes.data()
                                                  length:bytes.size()
                                                encoding:NSUTF8StringEncoding];
  return text != nil ? text
                     : [[NSString alloc] initWithBytes:bytes.data()
                                                length:bytes.size()
                                              encoding:NSISOLatin1StringEncoding];
}

}  // namespace halvarin::platform
