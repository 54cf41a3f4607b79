#include "base/Text.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "platform/LocaleOrder.h"
#include "platform/TextOrder.h"
#include "platform/posix/LowerCase.h"
#include "tests/darwin/standin/Objects.h"

namespace halvarin::standin {

namespace {

bool isHigh(char16_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}

bool isLow(char16_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

void append(std::string& utf8, char32_t character) {
  const auto put = [&utf8](char32_t byte) { utf8.push_back(static_cast<char>(byte)); };
  if (character < 0x80) {
    put(character);
    return;
  }
  if (character < 0x800) {
    put(0xC0U | (character >> 6U));
  } else if (character < 0x10000) {
    put(0xE0U | (character >> 12U));
    put(0x80U | ((character >> 6U) & 0x3FU));
  } else {
    put(0xF0U | (character >> 18U));
    put(0x80U | ((character >> 12U) & 0x3FU));
    put(0x80U | ((character >> 6U) & 0x3FU));
  }
  put(0x80U | (character & 0x3FU));
}

struct Converted {
  std::string utf8;
  std::size_t units;  // how many of the text were converted
};

/// Stops before half a pair.
Converted convertedUpToAHalf(std::u16string_view units) {
  Converted converted{};
  std::size_t& i = converted.units;
  for (; i < units.size(); ++i) {
    if (isHigh(units[i]) && i + 1 < units.size() && isLow(units[i + 1])) {
      append(converted.utf8, 0x10000 + ((units[i] - 0xD800U) << 10U) + (units[i + 1] - 0xDC00U));
      ++i;
    } else if (isHigh(units[i]) || isLow(units[i])) {
      break;
    } else {
      append(converted.utf8, units[i]);
    }
  }
  return converted;
}

std::u16string latin1(std::string_view bytes) {
  std::u16string units;
  for (const char byte : bytes) {
    units.push_back(static_cast<unsigned char>(byte));
  }
  return units;
}

CFComparisonResult resultOf(int order) {
  return order < 0 ? kCFCompareLessThan : order > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

}  // namespace

CFStringRef newText(std::u16string units) {
  return new __CFString(std::move(units));
}

CFStringRef newText(std::string_view utf8) {
  auto units = utf16(utf8);
  return newText(units ? *std::move(units) : latin1(utf8));
}

CFStringRef constantText(std::string_view utf8) {
  return newText(utf8);
}

std::string utf8Of(CFStringRef text) {
  const std::u16string_view units = text->text;
  std::string utf8;
  for (std::size_t place = 0; place < units.size(); ++place) {
    const Converted part = convertedUpToAHalf(units.substr(place));
    utf8 += part.utf8;
    place += part.units;
    utf8 += place < units.size() ? "?" : "";
  }
  return utf8;
}

}  // namespace halvarin::standin

/// What a locale is good for here.
struct __CFLocale : halvarin::standin::Object {  // NOLINT(bugprone-reserved-identifier): its name
  __CFLocale() : Object(halvarin::standin::kOther) {}
  const halvarin::platform::LocaleOrder order;
};

using halvarin::standin::newText;
using halvarin::standin::refuse;
using halvarin::standin::utf8Of;

extern "C" {

CFTypeID CFStringGetTypeID() {
  return halvarin::standin::kText;
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef /*alloc*/, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
  const std::string_view text(reinterpret_cast<const char*>(bytes),
                              static_cast<std::size_t>(numBytes));
  if (isExternalRepresentation != 0) {
    refuse("texts with a mark of their byte order");
  }
  if (encoding == kCFStringEncodingISOLatin1) {
    return newText(halvarin::standin::latin1(text));
  }
  auto units = encoding == kCFStringEncodingUTF8 ? halvarin::utf16(text) : std::nullopt;
  return units ? newText(*std::move(units)) : nullptr;
}

CFStringRef CFStringCreateWithCharactersNoCopy(CFAllocatorRef /*alloc*/, const UniChar* chars,
                                               CFIndex numChars,
                                               CFAllocatorRef contentsDeallocator) {
  if (contentsDeallocator != kCFAllocatorNull) {
    refuse("texts that free their characters");
  }
  return newText(std::u16string(chars, chars + numChars));
}

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef /*alloc*/, CFIndex /*maxLength*/,
                                             CFStringRef theString) {
  return new __CFString(theString->text);
}

CFIndex CFStringGetLength(CFStringRef theString) {
  return static_cast<CFIndex>(theString->text.size());
}

// A text whose characters lie there as they are stops at half a pair, whatever the byte for what
// an encoding lacks.
CFIndex CFStringGetBytes(CFStringRef theString, CFRange range, CFStringEncoding encoding,
                         UInt8 /*lossByte*/, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen) {
  if (encoding != kCFStringEncodingUTF8 || isExternalRepresentation != 0) {
    refuse("another encoding, or a mark of the byte order");
  }
  if (range.location < 0 || range.length < 0 ||
      range.location + range.length > CFStringGetLength(theString)) {
    refuse("a range beyond a text");
  }
  const auto converted =
      halvarin::standin::convertedUpToAHalf(std::u16string_view(theString->text)
                                                .substr(static_cast<std::size_t>(range.location),
                                                        static_cast<std::size_t>(range.length)));
  const auto size = static_cast<CFIndex>(converted.utf8.size());
  if (buffer != nullptr && maxBufLen < size) {
    refuse("a buffer that is too small");
  }
  if (buffer != nullptr) {
    std::memcpy(buffer, converted.utf8.data(), converted.utf8.size());
  }
  *usedBufLen = size;
  return static_cast<CFIndex>(converted.units);
}

void CFStringLowercase(CFMutableStringRef theString, CFLocaleRef locale) {
  if (locale != nullptr) {
    refuse("small letters of a language");
  }
  const std::string lower = halvarin::platform::lowercasedUtf8(utf8Of(theString));
  theString->text = halvarin::utf16(lower).value_or(std::u16string());
}

CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2,
                                   CFStringCompareFlags compareOptions) {
  if (compareOptions !=
      (kCFCompareCaseInsensitive | kCFCompareNonliteral | kCFCompareNumerically)) {
    refuse("these options of comparing");
  }
  return halvarin::standin::resultOf(
      halvarin::platform::compareNumericCaseInsensitive(utf8Of(theString1), utf8Of(theString2)));
}

CFLocaleRef CFLocaleCopyCurrent() {
  return new __CFLocale;
}

CFComparisonResult CFStringCompareWithOptionsAndLocale(CFStringRef theString1,
                                                       CFStringRef theString2,
                                                       CFRange rangeToCompare,
                                                       CFStringCompareFlags compareOptions,
                                                       CFLocaleRef locale) {
  constexpr CFStringCompareFlags kKnown = kCFCompareCaseInsensitive | kCFCompareNonliteral |
                                          kCFCompareNumerically | kCFCompareForcedOrdering;
  if (compareOptions != kKnown || locale == nullptr || rangeToCompare.location != 0 ||
      rangeToCompare.length != CFStringGetLength(theString1)) {
    refuse("these options of comparing in a language");
  }
  return halvarin::standin::resultOf(locale->order.compare(theString1->text, theString2->text));
}

}  // extern "C"
