#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/Data.h"
#include "base/Export.h"

// AES with 128-bit keys in cipher-block chaining, PKCS#7 padding and an initialisation vector of
// zero bytes: what the platform's encrypt and decrypt transforms do with only their input set.
// Bodies: posix/Cipher.cpp (libcrypto), macos/Cipher.cpp (the transforms themselves).

namespace halvarin::platform {

/// A key object of the system. Immutable; any thread.
struct CipherKey;
using CipherKeyRef = std::shared_ptr<const CipherKey>;

/// Where a transform failed, and the system's description of the error: on macOS what "%@" prints
/// of it, with domain and code.
struct CipherFailure {
  enum class Step { create, setInput, execute };
  Step step = Step::create;
  std::string description;
};

/// A key from its 16 bytes. Null, with the error's description, for any other number of bytes.
[[nodiscard]] HALVARIN_EXPORT CipherKeyRef makeCipherKey(const Data& bytes, std::string& error);

/// The cipher text: the next multiple of 16 above the plain length. Absent, with the failure filled
/// in, when the system fails.
[[nodiscard]] HALVARIN_EXPORT std::optional<Data> encipher(const CipherKey& key, const Data& plain,
                                                           CipherFailure& failure);

/// The plain text. Absent, with the failure filled in, when the length or the padding is wrong.
[[nodiscard]] HALVARIN_EXPORT std::optional<Data> decipher(const CipherKey& key,
                                                           const Data& ciphered,
                                                           CipherFailure& failure);

}  // namespace halvarin::platform
