#include "platform/Cipher.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace halvarin::test {
namespace {

using platform::CipherFailure;
using platform::CipherKeyRef;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kBlock = 16;

Bytes fromHex(std::string_view hex) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(
        static_cast<std::uint8_t>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

Bytes joined(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

Bytes mixed(Bytes a, const Bytes& b) {
  for (std::size_t i = 0; i < a.size(); ++i) {
    a[i] = static_cast<std::uint8_t>(a[i] ^ b[i]);
  }
  return a;
}

Bytes counting(std::size_t count) {
  Bytes bytes;
  for (std::size_t i = 0; i < count; ++i) {
    bytes.push_back(static_cast<std::uint8_t>(i * 31 + 7));
  }
  return bytes;
}

CipherKeyRef keyOf(const Bytes& bytes) {
  std::string error;
  return platform::makeCipherKey(Data(bytes), error);
}

/// The enciphered bytes; empty, and a failed test, when the system refuses.
Bytes enciphered(const CipherKeyRef& key, const Bytes& plain) {
  CipherFailure failure;
  const auto result = platform::encipher(*key, Data(plain), failure);
  EXPECT_TRUE(result.has_value()) << failure.description;
  return result ? Bytes(result->bytes().begin(), result->bytes().end()) : Bytes();
}

std::optional<Bytes> deciphered(const CipherKeyRef& key, const Bytes& bytes,
                                CipherFailure& failure) {
  const auto result = platform::decipher(*key, Data(bytes), failure);
  return result ? std::optional<Bytes>(Bytes(result->bytes().begin(), result->bytes().end()))
                : std::nullopt;
}

Bytes firstBytes(const Bytes& bytes, std::size_t count) {
  return {bytes.begin(),
          bytes.begin() + static_cast<std::ptrdiff_t>(std::min(count, bytes.size()))};
}

struct BlockRow {
  const char* name;
  const char* key;
  const char* plain;
  const char* ciphered;
};

// With an initialisation vector of zero bytes the first block is the plain cipher's.
TEST(Cipher, FirstBlockIsThePublishedOneOfThePlainCipher) {
  constexpr BlockRow kRows[] = {
      {"FIPS 197 C.1", "000102030405060708090a0b0c0d0e0f", "00112233445566778899aabbccddeeff",
       "69c4e0d86a7b0430d8cdb78070b4c55a"},
      {"SP 800-38A F.1.1 block 1", "2b7e151628aed2a6abf7158809cf4f3c",
       "6bc1bee22e409f96e93d7e117393172a", "3ad77bb40d7a3660a89ecaf32466ef97"},
      {"SP 800-38A F.1.1 block 2", "2b7e151628aed2a6abf7158809cf4f3c",
       "ae2d8a571e03ac9c9eb76fac45af8e51", "f5d3d58503b9699de785895a96fdbaaf"},
      {"SP 800-38A F.1.1 block 3", "2b7e151628aed2a6abf7158809cf4f3c",
       "30c81c46a35ce411e5fbc1191a0a52ef", "43b1cd7f598ece23881b00e3ed030688"},
      {"SP 800-38A F.1.1 block 4", "2b7e151628aed2a6abf7158809cf4f3c",
       "f69f2445df4f9b17ad2b417be66c3710", "7b0c785e27e8ad3f8223207104725dd4"},
  };
  for (const BlockRow& row : kRows) {
    SCOPED_TRACE(row.name);
    const Bytes result = enciphered(keyOf(fromHex(row.key)), fromHex(row.plain));
    EXPECT_EQ(result.size(), 2 * kBlock);
    EXPECT_EQ(firstBytes(result, kBlock), fromHex(row.ciphered));
  }
}

// The published chain begins with a vector of its own; mixed into the first plain block it takes
// the place of the zero bytes.
TEST(Cipher, ChainsItsBlocksAsPublished) {
  const CipherKeyRef key = keyOf(fromHex("2b7e151628aed2a6abf7158809cf4f3c"));
  const Bytes first = mixed(fromHex("6bc1bee22e409f96e93d7e117393172a"),
                            fromHex("000102030405060708090a0b0c0d0e0f"));
  const Bytes others = fromHex(
      "ae2d8a571e03ac9c9eb76fac45af8e5130c81c46a35ce411e5fbc1191a0a52ef"
      "f69f2445df4f9b17ad2b417be66c3710");
  const Bytes published = fromHex(
      "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
      "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7");
  const Bytes result = enciphered(key, joined(first, others));
  EXPECT_EQ(result.size(), 5 * kBlock);
  EXPECT_EQ(firstBytes(result, 4 * kBlock), published);
}

TEST(Cipher, EqualPlainBlocksDifferOnceChained) {
  const Bytes result = enciphered(keyOf(counting(kBlock)), Bytes(2 * kBlock, 0x55));
  ASSERT_EQ(result.size(), 3 * kBlock);
  EXPECT_NE(firstBytes(result, kBlock),
            Bytes(result.begin() + kBlock, result.begin() + 2 * kBlock));
}

TEST(Cipher, PadsEveryLengthWithBytesThatTellTheirNumber) {
  const CipherKeyRef key = keyOf(counting(kBlock));
  for (std::size_t length = 0; length <= 2 * kBlock; ++length) {
    SCOPED_TRACE(length);
    const std::size_t padding = kBlock - length % kBlock;
    const Bytes plain = counting(length);
    const Bytes padded = joined(plain, Bytes(padding, static_cast<std::uint8_t>(padding)));
    const Bytes result = enciphered(key, plain);
    EXPECT_EQ(result.size(), padded.size());
    EXPECT_EQ(result, firstBytes(enciphered(key, padded), padded.size()));
  }
}

TEST(Cipher, DeciphersWhatItEncipheredAtEveryLength) {
  const CipherKeyRef key = keyOf(counting(kBlock));
  for (const std::size_t length : {0U, 1U, 15U, 16U, 17U, 31U, 32U, 33U, 1000U, 300000U}) {
    SCOPED_TRACE(length);
    const Bytes plain = counting(length);
    CipherFailure failure;
    EXPECT_EQ(deciphered(key, enciphered(key, plain), failure), plain) << failure.description;
  }
}

TEST(Cipher, TheSameInputGivesTheSameBytesEveryTime) {
  const CipherKeyRef key = keyOf(counting(kBlock));
  const Bytes plain = counting(100);
  EXPECT_EQ(enciphered(key, plain), enciphered(key, plain));
  EXPECT_EQ(enciphered(key, plain), enciphered(keyOf(counting(kBlock)), plain));
}

TEST(Cipher, TakesKeysOfSixteenBytesOnlyAndTellsWhy) {
  for (std::size_t length = 0; length <= 33; ++length) {
    SCOPED_TRACE(length);
    std::string error;
    const CipherKeyRef key = platform::makeCipherKey(Data(counting(length)), error);
    EXPECT_EQ(key != nullptr, length == kBlock);
    EXPECT_EQ(error.empty(), length == kBlock);
  }
}

TEST(Cipher, RefusesToDecipherLengthsThatAreNoWholeBlocks) {
  const CipherKeyRef key = keyOf(counting(kBlock));
  const Bytes whole = enciphered(key, counting(40));
  ASSERT_EQ(whole.size(), 48U);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    SCOPED_TRACE(length);
    CipherFailure failure;
    const auto result = deciphered(key, firstBytes(whole, length), failure);
    if (length % kBlock != 0 || length == 0) {
      EXPECT_EQ(result, std::nullopt);
      EXPECT_EQ(failure.step, CipherFailure::Step::execute);
      EXPECT_FALSE(failure.description.empty());
    }
  }
}

TEST(Cipher, RefusesDataWithoutItsPaddedLastBlock) {
  const CipherKeyRef key = keyOf(counting(kBlock));
  // The last byte of the first block, 0, is no padding.
  const Bytes whole = enciphered(key, Bytes(2 * kBlock, 0));
  CipherFailure failure;
  EXPECT_EQ(deciphered(key, firstBytes(whole, kBlock), failure), std::nullopt);
  EXPECT_EQ(failure.step, CipherFailure::Step::execute);
  EXPECT_FALSE(failure.description.empty());
}

struct PaddingRow {
  const char* name;
  Bytes end;  // the last bytes of the plain block instead of a right padding
};

TEST(Cipher, RefusesEveryWrongPadding) {
  const PaddingRow rows[] = {
      {"zero", {0}},
      {"more than a block", {17}},
      {"largest", {255}},
      {"two bytes that differ", {3, 2}},
      {"three bytes, the first wrong", {2, 3, 3}},
      {"a block with one wrong", joined({15}, Bytes(15, 16))},
  };
  const CipherKeyRef key = keyOf(counting(kBlock));
  for (const PaddingRow& row : rows) {
    SCOPED_TRACE(row.name);
    Bytes block(kBlock, 0x7A);
    std::copy(row.end.rbegin(), row.end.rend(), block.rbegin());
    const Bytes ciphered = firstBytes(enciphered(key, block), kBlock);
    CipherFailure failure;
    EXPECT_EQ(deciphered(key, ciphered, failure), std::nullopt);
    EXPECT_EQ(failure.step, CipherFailure::Step::execute);
    EXPECT_FALSE(failure.description.empty());
  }
}

TEST(Cipher, ADamagedByteBeforeThePaddingDamagesThePlainTextOnly) {
  const CipherKeyRef key = keyOf(counting(kBlock));
  const Bytes plain = counting(2 * kBlock);
  Bytes ciphered = enciphered(key, plain);
  ciphered[0] ^= 0x01;
  CipherFailure failure;
  const auto result = deciphered(key, ciphered, failure);
  ASSERT_TRUE(result.has_value()) << failure.description;
  ASSERT_EQ(result->size(), plain.size());
  EXPECT_NE(*result, plain);
  EXPECT_EQ((*result)[kBlock], plain[kBlock] ^ 0x01);
}

TEST(Cipher, AnotherKeyDoesNotGiveThePlainText) {
  const Bytes plain = counting(100);
  const Bytes ciphered = enciphered(keyOf(counting(kBlock)), plain);
  CipherFailure failure;
  EXPECT_NE(deciphered(keyOf(Bytes(kBlock, 0x11)), ciphered, failure), plain);
}

TEST(Cipher, ThreadsMayUseOneKeyAtOnce) {
  const CipherKeyRef key = keyOf(counting(kBlock));
  const Bytes plain = counting(100);
  const Bytes expected = enciphered(key, plain);
  std::atomic<int> right{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        CipherFailure failure;
        right += deciphered(key, enciphered(key, plain), failure) == plain ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(right, 200);
  EXPECT_EQ(enciphered(key, plain), expected);
}

}  // namespace
}  // namespace halvarin::test
