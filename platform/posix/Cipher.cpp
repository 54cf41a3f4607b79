#include "platform/Cipher.h"

#include <openssl/err.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace halvarin::platform {

constexpr std::size_t kKeyBytes = 16;

struct CipherKey {
  std::array<std::uint8_t, kKeyBytes> bytes;
};

namespace {

using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

enum class Direction : int { decipher = 0, encipher = 1 };

/// Keeps the errors of this library call apart from those that the host has in the thread's queue.
class ErrorScope {
 public:
  ErrorScope() { ERR_set_mark(); }
  ~ErrorScope() { ERR_pop_to_mark(); }
  ErrorScope(const ErrorScope&) = delete;
  ErrorScope& operator=(const ErrorScope&) = delete;
};

std::string lastLibraryError() {
  std::array<char, 256> text{};
  ERR_error_string_n(ERR_peek_last_error(), text.data(), text.size());
  return text.data();
}

std::optional<Data> fail(CipherFailure::Step step, CipherFailure& failure) {
  failure = {step, lastLibraryError()};
  return std::nullopt;
}

std::optional<Data> transform(const CipherKey& key, const Data& input, Direction direction,
                              CipherFailure& failure) {
  constexpr std::array<std::uint8_t, 16> kZeroVector{};
  const ErrorScope errors;
  const CipherContext context(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
  if (!context || EVP_CipherInit_ex(context.get(), EVP_aes_128_cbc(), nullptr, key.bytes.data(),
                                    kZeroVector.data(), static_cast<int>(direction)) != 1) {
    return fail(CipherFailure::Step::create, failure);
  }
  if (input.size() > std::size_t{std::numeric_limits<int>::max()} - 32) {
    failure = {CipherFailure::Step::setInput, "the data is too long for the cipher library"};
    return std::nullopt;
  }
  std::vector<std::uint8_t> output(input.size() + kZeroVector.size());
  int written = 0;
  int last = 0;
  if (EVP_CipherUpdate(context.get(), output.data(), &written, input.bytes().data(),
                       static_cast<int>(input.size())) != 1 ||
      EVP_CipherFinal_ex(context.get(), output.data() + written, &last) != 1) {
    return fail(CipherFailure::Step::execute, failure);
  }
  return Data(
      std::span(output).first(static_cast<std::size_t>(written) + static_cast<std::size_t>(last)));
}

}  // namespace

CipherKeyRef makeCipherKey(const Data& bytes, std::string& error) {
  if (bytes.size() != kKeyBytes) {
    error = "an AES key of 128 bits takes 16 bytes, not " + std::to_string(bytes.size());
    return nullptr;
  }
  auto key = std::make_shared<CipherKey>();
  std::copy(bytes.bytes().begin(), bytes.bytes().end(), key->bytes.begin());
  return key;
}

std::optional<Data> encipher(const CipherKey& key, const Data& plain, CipherFailure& failure) {
  return transform(key, plain, Direction::encipher, failure);
}

std::optional<Data> decipher(const CipherKey& key, const Data& ciphered, CipherFailure& failure) {
  return transform(key, ciphered, Direction::decipher, failure);
}

}  // namespace halvarin::platform
