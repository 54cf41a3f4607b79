#include <cstddef>

#include "tests/darwin/standin/Objects.h"

using halvarin::standin::refuse;

__CFArray::~__CFArray() {
  for (CFTypeRef element : elements) {
    CFRelease(element);
  }
}

__CFDictionary::~__CFDictionary() {
  for (const auto& [name, entry] : entries) {
    CFRelease(entry.key);
    CFRelease(entry.value);
  }
}

extern "C" {

// Known by their address: collections of anything else than objects are refused.
const CFArrayCallBacks kCFTypeArrayCallBacks{};
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{};

CFTypeID CFArrayGetTypeID() {
  return halvarin::standin::kArray;
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef /*allocator*/, CFIndex capacity,
                                       const CFArrayCallBacks* callBacks) {
  if (callBacks != &kCFTypeArrayCallBacks || capacity != 0) {
    refuse("arrays of a limited size or of anything else than objects");
  }
  return new __CFArray;
}

CFIndex CFArrayGetCount(CFArrayRef theArray) {
  return static_cast<CFIndex>(theArray->elements.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx) {
  return theArray->elements.at(static_cast<std::size_t>(idx));
}

void CFArrayAppendValue(CFMutableArrayRef theArray, const void* value) {
  theArray->elements.push_back(CFRetain(value));
}

CFTypeID CFDictionaryGetTypeID() {
  return halvarin::standin::kDictionary;
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef /*allocator*/, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
  if (keyCallBacks != &kCFTypeDictionaryKeyCallBacks ||
      valueCallBacks != &kCFTypeDictionaryValueCallBacks || capacity != 0) {
    refuse("dictionaries of a limited size or of anything else than objects");
  }
  return new __CFDictionary;
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values,
                                   CFIndex numValues, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
  const CFMutableDictionaryRef dictionary =
      CFDictionaryCreateMutable(allocator, 0, keyCallBacks, valueCallBacks);
  for (CFIndex i = 0; i < numValues; ++i) {
    CFDictionarySetValue(dictionary, keys[i], values[i]);
  }
  return dictionary;
}

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict) {
  return static_cast<CFIndex>(theDict->entries.size());
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values) {
  for (const auto& [name, entry] : theDict->entries) {
    *keys++ = entry.key;
    *values++ = entry.value;
  }
}

void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void* key, const void* value) {
  if (CFGetTypeID(key) != CFStringGetTypeID()) {
    refuse("keys that are no texts");
  }
  CFRetain(key);
  CFRetain(value);
  const auto [found, isNew] = theDict->entries.try_emplace(static_cast<CFStringRef>(key)->text,
                                                           __CFDictionary::Entry{key, value});
  if (!isNew) {
    CFRelease(found->second.key);
    CFRelease(found->second.value);
    found->second = {key, value};
  }
}

}  // extern "C"
