#include "platform/PropertyList.h"

#include <algorithm>
#include <string_view>

#include "base/Array.h"
#include "base/Dictionary.h"
#include "tests/darwin/standin/Objects.h"

namespace halvarin::standin {

namespace {

CFTypeRef newObject(const Value& value);

CFTypeRef newArray(const Array& array) {
  const CFMutableArrayRef object = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
  for (const Value& each : array.elements()) {
    const CFTypeRef element = newObject(each);
    CFArrayAppendValue(object, element);
    CFRelease(element);
  }
  return object;
}

CFTypeRef newDictionary(const Dictionary& dictionary) {
  const CFMutableDictionaryRef object = CFDictionaryCreateMutable(
      nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
  for (const auto& [name, value] : dictionary.entries()) {
    const CFTypeRef key = newText(name.view());
    const CFTypeRef entry = newObject(value);
    CFDictionarySetValue(object, key, entry);
    CFRelease(key);
    CFRelease(entry);
  }
  return object;
}

CFTypeRef newObject(const Value& value) {
  if (const DictionaryRef dictionary = value.dictionary()) {
    return newDictionary(*dictionary);
  }
  if (const ArrayRef array = value.array()) {
    return newArray(*array);
  }
  if (value.isText()) {
    return newText(value.textView());
  }
  if (value.isData()) {
    return new __CFData(value.data());
  }
  if (value.isBoolean()) {
    return CFRetain(value.boolValue() ? kCFBooleanTrue : kCFBooleanFalse);
  }
  if (value.isReal()) {
    const double real = value.doubleValue();
    return CFNumberCreate(nullptr, kCFNumberDoubleType, &real);
  }
  const std::int64_t integer = value.longLongValue();
  return CFNumberCreate(nullptr, kCFNumberSInt64Type, &integer);
}

Value valueOf(CFTypeRef object);

Value valueOfDictionary(const __CFDictionary& object) {
  auto dictionary = Dictionary::make();
  for (const auto& [name, entry] : object.entries) {
    dictionary->set(utf8Of(static_cast<CFStringRef>(entry.key)), valueOf(entry.value));
  }
  return dictionary;
}

Value valueOfArray(const __CFArray& object) {
  std::vector<Value> elements;
  for (const CFTypeRef each : object.elements) {
    elements.push_back(valueOf(each));
  }
  return Array::make(std::move(elements));
}

Value valueOf(CFTypeRef object) {
  switch (CFGetTypeID(object)) {
    case kText:
      return utf8Of(static_cast<CFStringRef>(object));
    case kData:
      return static_cast<CFDataRef>(object)->data;
    case kBoolean:
      return static_cast<CFBooleanRef>(object)->value;
    case kNumber: {
      const auto* const number = static_cast<CFNumberRef>(object);
      return number->isReal ? Value(number->real) : Value(number->integer);
    }
    case kArray:
      return valueOfArray(*static_cast<CFArrayRef>(object));
    case kDictionary:
      return valueOfDictionary(*static_cast<CFDictionaryRef>(object));
    default:
      refuse("this object of a property list");
  }
}

/// The oldest format, of which a word and blanks alone are enough here.
Value openStepValueOf(const Data& bytes) {
  const std::string_view text = bytes.view();
  const auto isBlank = [](char each) { return each == ' ' || each == '\n' || each == '\t'; };
  const auto isOfWord = [](char each) {
    return (each >= '0' && each <= '9') || (each >= 'A' && each <= 'Z') ||
           (each >= 'a' && each <= 'z');
  };
  if (text.empty()) {
    return {};
  }
  if (std::all_of(text.begin(), text.end(), isBlank)) {
    return Dictionary::make();
  }
  return std::all_of(text.begin(), text.end(), isOfWord) ? Value(text) : Value();
}

struct Parsed {
  Value value;
  CFPropertyListFormat format;
};

Parsed parsed(const Data& bytes) {
  if (Value value = platform::parsePropertyList(bytes); !value.isNothing()) {
    const bool isBinary = bytes.view().starts_with("bplist");
    return {value, isBinary ? kCFPropertyListBinaryFormat_v1_0 : kCFPropertyListXMLFormat_v1_0};
  }
  return {openStepValueOf(bytes), kCFPropertyListOpenStepFormat};
}

}  // namespace

}  // namespace halvarin::standin

using halvarin::platform::PropertyListFormat;
using halvarin::standin::refuse;
using halvarin::standin::report;

extern "C" {

CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef /*allocator*/, CFDataRef data,
                                               CFOptionFlags options, CFPropertyListFormat* format,
                                               CFErrorRef* error) {
  if (options != kCFPropertyListMutableContainersAndLeaves) {
    refuse("property lists that cannot be changed");
  }
  const auto parsed = halvarin::standin::parsed(data->data);
  if (parsed.value.isNothing()) {
    report(error, "no property list");
    return nullptr;
  }
  if (format != nullptr) {
    *format = parsed.format;
  }
  return halvarin::standin::newObject(parsed.value);
}

CFDataRef CFPropertyListCreateData(CFAllocatorRef /*allocator*/, CFPropertyListRef propertyList,
                                   CFPropertyListFormat format, CFOptionFlags /*options*/,
                                   CFErrorRef* error) {
  const auto bytes = halvarin::platform::writePropertyList(halvarin::standin::valueOf(propertyList),
                                                           format == kCFPropertyListXMLFormat_v1_0
                                                               ? PropertyListFormat::xml
                                                               : PropertyListFormat::binary);
  if (!bytes) {
    report(error, "no property list");
    return nullptr;
  }
  return new __CFData(*bytes);
}

}  // extern "C"
