#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/Data.h"

// What the stand-in's objects of Core Foundation are. Each begins with an Object, so that a pointer
// to any of them is one to that.

namespace halvarin::standin {

// NOLINTBEGIN(bugprone-reserved-identifier): the system's own names

struct Object {
  explicit Object(CFTypeID kind) : type(kind) { ++living; }
  virtual ~Object() { --living; }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  const CFTypeID type;
  mutable std::atomic<CFIndex> count{1};

  static std::atomic<long> living;  // those of Dispatch too
};

enum Type : CFTypeID {
  kOther = 1,
  kText,
  kData,
  kNumber,
  kBoolean,
  kArray,
  kDictionary,
  kError,
};

/// Ends the process: a body asks for more than the stand-in knows.
[[noreturn]] void refuse(const char* what);

/// A text that lives as long as the process.
[[nodiscard]] CFStringRef constantText(std::string_view utf8);

[[nodiscard]] CFStringRef newText(std::u16string units);
/// Bytes that are no UTF-8 count as one character each.
[[nodiscard]] CFStringRef newText(std::string_view utf8);
/// Half a pair becomes "?".
[[nodiscard]] std::string utf8Of(CFStringRef text);

[[nodiscard]] CFErrorRef newError(std::string_view description);
/// Gives an error to who asked for one.
void report(CFErrorRef* error, std::string_view description);

}  // namespace halvarin::standin

struct __CFString : halvarin::standin::Object {
  explicit __CFString(std::u16string units)
      : Object(halvarin::standin::kText), text(std::move(units)) {}
  std::u16string text;
};

struct __CFData : halvarin::standin::Object {
  explicit __CFData(halvarin::Data content)
      : Object(halvarin::standin::kData), data(std::move(content)) {}
  const halvarin::Data data;
};

struct __CFBoolean : halvarin::standin::Object {
  explicit __CFBoolean(bool truth) : Object(halvarin::standin::kBoolean), value(truth) {}
  const bool value;
};

struct __CFNumber : halvarin::standin::Object {
  __CFNumber() : Object(halvarin::standin::kNumber) {}
  bool isReal = false;
  double real = 0;
  long integer = 0;
};

struct __CFArray : halvarin::standin::Object {
  __CFArray() : Object(halvarin::standin::kArray) {}
  ~__CFArray() override;
  std::vector<CFTypeRef> elements;
};

/// Without an order, like the system's.
struct __CFDictionary : halvarin::standin::Object {
  __CFDictionary() : Object(halvarin::standin::kDictionary) {}
  ~__CFDictionary() override;
  struct Entry {
    CFTypeRef key;
    CFTypeRef value;
  };
  std::unordered_map<std::u16string, Entry> entries;
};

struct __CFError : halvarin::standin::Object {
  explicit __CFError(std::string text)
      : Object(halvarin::standin::kError), description(std::move(text)) {}
  const std::string description;
};

struct __CFURL : halvarin::standin::Object {
  explicit __CFURL(std::string place) : Object(halvarin::standin::kOther), path(std::move(place)) {}
  const std::string path;
};

// NOLINTEND(bugprone-reserved-identifier)
