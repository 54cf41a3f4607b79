#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "base/Data.h"

// Core Foundation objects as C++ sees them.
//
// Memory: what a function with Create or Copy in its name gives belongs to the caller and goes into
// an Owned at once. What any other function gives is borrowed, and never put into one.

namespace halvarin::platform {

struct ReleaseCFObject {
  void operator()(CFTypeRef object) const { CFRelease(object); }
};

/// An object that belongs to its holder; null for none.
template <typename Ref>
using Owned = std::unique_ptr<std::remove_pointer_t<Ref>, ReleaseCFObject>;

/// The text of bytes that are UTF-8; null for others.
[[nodiscard]] Owned<CFStringRef> cfText(std::string_view utf8);

/// The same, but bytes that are not UTF-8 count as one character each. Never null.
[[nodiscard]] Owned<CFStringRef> cfTextOfAnyBytes(std::string_view bytes);

/// A text as UTF-8; half a pair of UTF-16 becomes "?".
[[nodiscard]] std::string utf8Of(CFStringRef text);

[[nodiscard]] Owned<CFDataRef> cfData(const Data& data);
[[nodiscard]] Data dataOf(CFDataRef data);

/// What "%@" prints of an error: its domain, its code, and the system's sentence where it has one.
/// Releases it; "" for null.
[[nodiscard]] std::string takeDescription(CFErrorRef error);

}  // namespace halvarin::platform
