#include "platform/Cipher.h"

#include <Security/Security.h>

#include <array>
#include <cstdint>

#include "platform/macos/CFObjects.h"

namespace halvarin::platform {

struct CipherKey {
  Owned<SecKeyRef> key;
};

namespace {

constexpr std::size_t kKeyBytes = 16;

using Create = SecTransformRef (*)(SecKeyRef key, CFErrorRef* error);

Owned<CFDictionaryRef> keyParameters() {
  const std::int32_t bits = 8 * kKeyBytes;
  const Owned<CFNumberRef> size(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &bits));
  std::array<const void*, 2> names{kSecAttrKeyType, kSecAttrKeySizeInBits};
  std::array<const void*, 2> values{kSecAttrKeyTypeAES, size.get()};
  return Owned<CFDictionaryRef>(CFDictionaryCreate(
      kCFAllocatorDefault, names.data(), values.data(), static_cast<CFIndex>(names.size()),
      &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

std::optional<Data> fail(CipherFailure::Step step, CFErrorRef error, CipherFailure& failure) {
  failure = {step, takeDescription(error)};
  return std::nullopt;
}

/// Mode, padding and vector stay unset: the transforms' own are those that are wanted.
std::optional<Data> transformed(Create create, const CipherKey& key, const Data& input,
                                CipherFailure& failure) {
  CFErrorRef error = nullptr;
  const Owned<SecTransformRef> transform(create(key.key.get(), &error));
  if (!transform || error != nullptr) {
    return fail(CipherFailure::Step::create, error, failure);
  }
  const Owned<CFDataRef> data = cfData(input);
  SecTransformSetAttribute(transform.get(), kSecTransformInputAttributeName, data.get(), &error);
  if (error != nullptr) {
    return fail(CipherFailure::Step::setInput, error, failure);
  }
  const Owned<CFTypeRef> output(SecTransformExecute(transform.get(), &error));
  if (!output || error != nullptr) {
    return fail(CipherFailure::Step::execute, error, failure);
  }
  return dataOf(static_cast<CFDataRef>(output.get()));
}

}  // namespace

CipherKeyRef makeCipherKey(const Data& bytes, std::string& error) {
  CFErrorRef failure = nullptr;
  const Owned<CFDataRef> data = cfData(bytes);
  Owned<SecKeyRef> key(SecKeyCreateFromData(keyParameters().get(), data.get(), &failure));
  if (!key || failure != nullptr) {
    error = takeDescription(failure);
    return nullptr;
  }
  // The system does not say whether it compares the bytes with the size that it is given.
  if (bytes.size() != kKeyBytes) {
    error = "an AES key of 128 bits takes 16 bytes, not " + std::to_string(bytes.size());
    return nullptr;
  }
  return std::make_shared<const CipherKey>(CipherKey{std::move(key)});
}

std::optional<Data> encipher(const CipherKey& key, const Data& plain, CipherFailure& failure) {
  return transformed(&SecEncryptTransformCreate, key, plain, failure);
}

std::optional<Data> decipher(const CipherKey& key, const Data& ciphered, CipherFailure& failure) {
  return transformed(&SecDecryptTransformCreate, key, ciphered, failure);
}

}  // namespace halvarin::platform
