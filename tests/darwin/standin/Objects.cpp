#include "tests/darwin/standin/Objects.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "base/Text.h"
#include "tests/darwin/StandIn.h"

namespace halvarin::standin {

std::atomic<long> Object::living{0};

namespace {

const Object& objectOf(CFTypeRef reference) {
  if (reference == nullptr) {
    refuse("a null object");
  }
  return *static_cast<const Object*>(reference);
}

}  // namespace

void refuse(const char* what) {
  std::fprintf(stderr, "the stand-in for macOS does not know %s\n", what);
  std::abort();
}

CFErrorRef newError(std::string_view description) {
  return new __CFError(std::string(description));
}

void report(CFErrorRef* error, std::string_view description) {
  if (error != nullptr) {
    *error = newError(description);
  }
}

}  // namespace halvarin::standin

using halvarin::Data;
using halvarin::standin::Object;
using halvarin::standin::objectOf;
using halvarin::standin::refuse;

extern "C" {

long halvarinStandInObjects() {
  return Object::living;
}

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFAllocatorRef kCFAllocatorNull = reinterpret_cast<CFAllocatorRef>(&kCFAllocatorDefault);

CFTypeID CFGetTypeID(CFTypeRef cf) {
  return objectOf(cf).type;
}

CFTypeRef CFRetain(CFTypeRef cf) {
  ++objectOf(cf).count;
  return cf;
}

void CFRelease(CFTypeRef cf) {
  if (--objectOf(cf).count == 0) {
    delete &objectOf(cf);
  }
}

CFIndex CFGetRetainCount(CFTypeRef cf) {
  return objectOf(cf).count;
}

CFStringRef CFCopyDescription(CFTypeRef cf) {
  if (CFGetTypeID(cf) != halvarin::standin::kError) {
    refuse("a description of anything else than an error");
  }
  const std::string& sentence = static_cast<const __CFError*>(cf)->description;
  return halvarin::standin::newText("Error Domain=stand-in Code=1 \"" + sentence + "\"");
}

CFTypeID CFDataGetTypeID() {
  return halvarin::standin::kData;
}

CFDataRef CFDataCreate(CFAllocatorRef /*allocator*/, const UInt8* bytes, CFIndex length) {
  return new __CFData(Data(std::span(bytes, static_cast<std::size_t>(length))));
}

CFIndex CFDataGetLength(CFDataRef theData) {
  return static_cast<CFIndex>(theData->data.size());
}

const UInt8* CFDataGetBytePtr(CFDataRef theData) {
  return theData->data.bytes().data();
}

const CFBooleanRef kCFBooleanTrue = new __CFBoolean(true);
const CFBooleanRef kCFBooleanFalse = new __CFBoolean(false);

CFTypeID CFBooleanGetTypeID() {
  return halvarin::standin::kBoolean;
}

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
  return boolean->value ? 1 : 0;
}

CFTypeID CFNumberGetTypeID() {
  return halvarin::standin::kNumber;
}

CFNumberRef CFNumberCreate(CFAllocatorRef /*allocator*/, CFNumberType theType,
                           const void* valuePtr) {
  auto* const number = new __CFNumber;
  number->isReal = theType == kCFNumberDoubleType;
  if (number->isReal) {
    number->real = *static_cast<const double*>(valuePtr);
  } else if (theType == kCFNumberSInt64Type) {
    number->integer = *static_cast<const std::int64_t*>(valuePtr);
  } else if (theType == kCFNumberSInt32Type) {
    number->integer = *static_cast<const SInt32*>(valuePtr);
  } else {
    refuse("this type of number");
  }
  return number;
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr) {
  if (theType == kCFNumberDoubleType && number->isReal) {
    *static_cast<double*>(valuePtr) = number->real;
  } else if (theType == kCFNumberSInt64Type && !number->isReal) {
    *static_cast<std::int64_t*>(valuePtr) = number->integer;
  } else {
    refuse("this conversion of a number");
  }
  return 1;
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
  return number->isReal ? 1 : 0;
}

}  // extern "C"
