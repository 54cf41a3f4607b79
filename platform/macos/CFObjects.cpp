#include "platform/macos/CFObjects.h"

#include <cstdint>
#include <span>
#include <utility>

namespace halvarin::platform {

namespace {

Owned<CFStringRef> decoded(std::string_view bytes, CFStringEncoding encoding) {
  return Owned<CFStringRef>(CFStringCreateWithBytes(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
      static_cast<CFIndex>(bytes.size()), encoding, static_cast<Boolean>(false)));
}

/// Appends a part of a text up to the first half of a pair, before which the system may stop; how
/// many units it took.
CFIndex appendUtf8(std::string& utf8, CFStringRef text, CFRange part) {
  constexpr UInt8 kInsteadOfHalves = 0;  // stop there
  const auto noMark = static_cast<Boolean>(false);
  const std::size_t before = utf8.size();
  CFIndex size = 0;
  CFStringGetBytes(text, part, kCFStringEncodingUTF8, kInsteadOfHalves, noMark, nullptr, 0, &size);
  utf8.resize(before + static_cast<std::size_t>(size));
  return CFStringGetBytes(text, part, kCFStringEncodingUTF8, kInsteadOfHalves, noMark,
                          reinterpret_cast<UInt8*>(utf8.data() + before), size, &size);
}

}  // namespace

Owned<CFStringRef> cfText(std::string_view utf8) {
  return decoded(utf8, kCFStringEncodingUTF8);
}

Owned<CFStringRef> cfTextOfAnyBytes(std::string_view bytes) {
  Owned<CFStringRef> text = cfText(bytes);
  return text ? std::move(text) : decoded(bytes, kCFStringEncodingISOLatin1);
}

std::string utf8Of(CFStringRef text) {
  const CFIndex length = CFStringGetLength(text);
  std::string utf8;
  for (CFIndex place = 0; place < length; ++place) {
    place += appendUtf8(utf8, text, CFRangeMake(place, length - place));
    utf8 += place < length ? "?" : "";
  }
  return utf8;
}

Owned<CFDataRef> cfData(const Data& data) {
  return Owned<CFDataRef>(
      CFDataCreate(kCFAllocatorDefault, data.bytes().data(), static_cast<CFIndex>(data.size())));
}

Data dataOf(CFDataRef data) {
  return Data(std::span<const std::uint8_t>(CFDataGetBytePtr(data),
                                            static_cast<std::size_t>(CFDataGetLength(data))));
}

std::string takeDescription(CFErrorRef error) {
  const Owned<CFErrorRef> owned(error);
  const Owned<CFStringRef> text(owned ? CFCopyDescription(error) : nullptr);
  return text ? utf8Of(text.get()) : "";
}

}  // namespace halvarin::platform
