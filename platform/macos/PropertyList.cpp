#include "platform/PropertyList.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "base/Array.h"
#include "base/Dictionary.h"
#include "platform/macos/CFObjects.h"

namespace halvarin::platform {

namespace {

Value valueOf(CFTypeRef object);

/// By name: the system keeps no order, and what people are shown must not change from run to run.
Dictionary::Entries entriesOf(CFDictionaryRef dictionary) {
  const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
  std::vector<const void*> names(count);
  std::vector<const void*> values(count);
  CFDictionaryGetKeysAndValues(dictionary, names.data(), values.data());
  Dictionary::Entries entries;
  entries.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    if (Value value = valueOf(values[i]); !value.isNothing()) {
      entries.emplace_back(utf8Of(static_cast<CFStringRef>(names[i])), std::move(value));
    }
  }
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return a.first.view() < b.first.view(); });
  return entries;
}

Value dictionaryOf(CFDictionaryRef dictionary) {
  CFRetain(dictionary);
  const std::shared_ptr<const __CFDictionary> kept(dictionary, ReleaseCFObject());
  return Dictionary::makeDeferred([kept] { return entriesOf(kept.get()); });
}

Value arrayOf(CFArrayRef array) {
  std::vector<Value> elements;
  const CFIndex count = CFArrayGetCount(array);
  elements.reserve(static_cast<std::size_t>(count));
  for (CFIndex i = 0; i < count; ++i) {
    if (Value element = valueOf(CFArrayGetValueAtIndex(array, i)); !element.isNothing()) {
      elements.push_back(std::move(element));
    }
  }
  return Array::make(std::move(elements));
}

Value numberOf(CFNumberRef number) {
  if (CFNumberIsFloatType(number) != 0) {
    double real = 0;
    CFNumberGetValue(number, kCFNumberDoubleType, &real);
    return real;
  }
  std::int64_t integer = 0;
  CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
  return integer;
}

Value valueOf(CFTypeRef object) {
  const CFTypeID type = CFGetTypeID(object);
  if (type == CFDictionaryGetTypeID()) {
    return dictionaryOf(static_cast<CFDictionaryRef>(object));
  }
  if (type == CFStringGetTypeID()) {
    return utf8Of(static_cast<CFStringRef>(object));
  }
  if (type == CFBooleanGetTypeID()) {
    return CFBooleanGetValue(static_cast<CFBooleanRef>(object)) != 0;
  }
  if (type == CFNumberGetTypeID()) {
    return numberOf(static_cast<CFNumberRef>(object));
  }
  if (type == CFArrayGetTypeID()) {
    return arrayOf(static_cast<CFArrayRef>(object));
  }
  return type == CFDataGetTypeID() ? Value(dataOf(static_cast<CFDataRef>(object))) : Value();
}

/// Null for what no property list can hold: text that is not UTF-8.
Owned<CFTypeRef> objectOf(const Value& value);

Owned<CFTypeRef> objectOfDictionary(const Dictionary& dictionary) {
  Owned<CFMutableDictionaryRef> object(CFDictionaryCreateMutable(
      kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
  for (const auto& [name, value] : dictionary.entries()) {
    const Owned<CFStringRef> key = cfText(name.view());
    const Owned<CFTypeRef> entry = objectOf(value);
    if (!key || !entry) {
      return nullptr;
    }
    CFDictionarySetValue(object.get(), key.get(), entry.get());
  }
  return Owned<CFTypeRef>(object.release());
}

Owned<CFTypeRef> objectOfArray(const Array& array) {
  Owned<CFMutableArrayRef> object(
      CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
  for (const Value& each : array.elements()) {
    if (each.isNothing()) {
      continue;
    }
    const Owned<CFTypeRef> element = objectOf(each);
    if (!element) {
      return nullptr;
    }
    CFArrayAppendValue(object.get(), element.get());
  }
  return Owned<CFTypeRef>(object.release());
}

Owned<CFTypeRef> objectOfNumber(const Value& value) {
  if (value.isBoolean()) {
    return Owned<CFTypeRef>(CFRetain(value.boolValue() ? kCFBooleanTrue : kCFBooleanFalse));
  }
  if (value.isInteger()) {
    const std::int64_t integer = value.longLongValue();
    return Owned<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &integer));
  }
  const double real = value.doubleValue();
  return Owned<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &real));
}

Owned<CFTypeRef> objectOf(const Value& value) {
  if (const DictionaryRef dictionary = value.dictionary()) {
    return objectOfDictionary(*dictionary);
  }
  if (const ArrayRef array = value.array()) {
    return objectOfArray(*array);
  }
  if (value.isText()) {
    return Owned<CFTypeRef>(cfText(value.textView()).release());
  }
  return value.isData() ? Owned<CFTypeRef>(cfData(value.data()).release()) : objectOfNumber(value);
}

}  // namespace

Value parsePropertyList(const Data& bytes) {
  CFPropertyListFormat format{};
  const Owned<CFPropertyListRef> list(
      CFPropertyListCreateWithData(kCFAllocatorDefault, cfData(bytes).get(),
                                   kCFPropertyListMutableContainersAndLeaves, &format, nullptr));
  // The system reads a third format, the oldest, in which a single word is a list.
  const bool isWanted =
      format == kCFPropertyListXMLFormat_v1_0 || format == kCFPropertyListBinaryFormat_v1_0;
  return list && isWanted ? valueOf(list.get()) : Value();
}

std::optional<Data> writePropertyList(const Value& value, PropertyListFormat format) {
  const Owned<CFTypeRef> object = value.isNothing() ? nullptr : objectOf(value);
  if (!object) {
    return std::nullopt;
  }
  const Owned<CFDataRef> bytes(CFPropertyListCreateData(kCFAllocatorDefault, object.get(),
                                                        format == PropertyListFormat::xml
                                                            ? kCFPropertyListXMLFormat_v1_0
                                                            : kCFPropertyListBinaryFormat_v1_0,
                                                        0, nullptr));
  return bytes ? std::optional<Data>(dataOf(bytes.get())) : std::nullopt;
}

}  // namespace halvarin::platform
