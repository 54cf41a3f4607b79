#include <Security/Security.h>

#include <optional>

#include "platform/Cipher.h"
#include "tests/darwin/standin/Objects.h"

using halvarin::Data;
using halvarin::platform::CipherFailure;
using halvarin::standin::constantText;
using halvarin::standin::refuse;
using halvarin::standin::report;

// NOLINTNEXTLINE(bugprone-reserved-identifier): the system's name
struct __SecKey : halvarin::standin::Object {
  explicit __SecKey(halvarin::platform::CipherKeyRef held)
      : Object(halvarin::standin::kOther), key(std::move(held)) {}
  const halvarin::platform::CipherKeyRef key;
};

namespace {

using Change = std::optional<Data> (*)(const halvarin::platform::CipherKey& key, const Data& input,
                                       CipherFailure& failure);

struct Transform : halvarin::standin::Object {
  Transform(SecKeyRef held, Change how)
      : Object(halvarin::standin::kOther), key(held), change(how) {
    CFRetain(key);
  }
  ~Transform() override {
    CFRelease(key);
    if (input != nullptr) {
      CFRelease(input);
    }
  }
  const SecKeyRef key;
  const Change change;
  mutable CFDataRef input = nullptr;
};

SecTransformRef newTransform(SecKeyRef key, Change change, CFErrorRef* error) {
  if (key == nullptr) {
    report(error, "no key");
    return nullptr;
  }
  return new Transform(key, change);
}

bool describesKeysOf128Bits(CFDictionaryRef parameters) {
  const auto type = parameters->entries.find(kSecAttrKeyType->text);
  const auto size = parameters->entries.find(kSecAttrKeySizeInBits->text);
  return type != parameters->entries.end() && type->second.value == kSecAttrKeyTypeAES &&
         size != parameters->entries.end() &&
         static_cast<CFNumberRef>(size->second.value)->integer == 128;
}

}  // namespace

extern "C" {

const CFStringRef kSecAttrKeyType = constantText("type");
const CFStringRef kSecAttrKeySizeInBits = constantText("bsiz");
const CFStringRef kSecAttrKeyTypeAES = constantText("AES");
const CFStringRef kSecTransformInputAttributeName = constantText("INPUT");

SecKeyRef SecKeyCreateFromData(CFDictionaryRef parameters, CFDataRef keyData, CFErrorRef* error) {
  if (!describesKeysOf128Bits(parameters)) {
    refuse("keys that are not for AES with 128 bits");
  }
  std::string why;
  auto key = halvarin::platform::makeCipherKey(keyData->data, why);
  if (!key) {
    report(error, why);
    return nullptr;
  }
  return new __SecKey(std::move(key));
}

SecTransformRef SecEncryptTransformCreate(SecKeyRef keyRef, CFErrorRef* error) {
  return newTransform(keyRef, &halvarin::platform::encipher, error);
}

SecTransformRef SecDecryptTransformCreate(SecKeyRef keyRef, CFErrorRef* error) {
  return newTransform(keyRef, &halvarin::platform::decipher, error);
}

Boolean SecTransformSetAttribute(SecTransformRef transformRef, CFStringRef key, CFTypeRef value,
                                 CFErrorRef* error) {
  if (key != kSecTransformInputAttributeName || CFGetTypeID(value) != CFDataGetTypeID()) {
    report(error, "no such attribute");
    return 0;
  }
  static_cast<const Transform*>(transformRef)->input = static_cast<CFDataRef>(CFRetain(value));
  return 1;
}

CFTypeRef SecTransformExecute(SecTransformRef transformRef, CFErrorRef* errorRef) {
  const auto& transform = *static_cast<const Transform*>(transformRef);
  if (transform.input == nullptr) {
    report(errorRef, "no input");
    return nullptr;
  }
  CipherFailure failure;
  const auto output = transform.change(*transform.key->key, transform.input->data, failure);
  if (!output) {
    report(errorRef, failure.description);
    return nullptr;
  }
  return new __CFData(*output);
}

}  // extern "C"
