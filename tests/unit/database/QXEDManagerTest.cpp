#include "database/QXEDManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/NumberText.h"
#include "database/SaltTables.h"
#include "tests/support/CapturedLog.h"
#include "tests/unit/database/PlainDataAndLogLines.h"

namespace halvarin::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// ---- keys and layers
// -----------------------------------------------------------------------------

TEST(QXEDManager, MakesKeysOf16BytesOnly) {
  const QXEDManager manager;
  CapturedLog log;
  EXPECT_NE(manager.skFromData(plainOf(16)), nullptr);
  EXPECT_NE(manager.localSK(), nullptr);
  EXPECT_THAT(log.lines(), IsEmpty());
  for (const std::size_t size : {0U, 1U, 15U, 17U, 24U, 32U}) {
    const std::size_t before = log.lines().size();
    EXPECT_EQ(manager.skFromData(plainOf(size)), nullptr) << size;
    ASSERT_EQ(log.lines().size(), before + 1) << size;
    EXPECT_THAT(log.lines().back(), saysMoreThan("QXEDManager::skFromData: failed: ")) << size;
  }
}

TEST(QXEDManager, EnciphersToTheNextMultipleOf16AndBack) {
  const QXEDManager manager;
  const auto key = manager.skFromData(plainOf(16));
  for (std::size_t size = 0; size <= 64; ++size) {
    const auto ciphered = manager.enData(plainOf(size), key);
    ASSERT_TRUE(ciphered) << size;
    EXPECT_EQ(ciphered->size(), (size / 16 + 1) * 16) << size;
    EXPECT_EQ(manager.deData(ciphered, key), plainOf(size)) << size;
  }
}

// A known answer: the cipher's published example for a key of 128 bits. It is one block, which
// chaining from a zero vector leaves as it is.
TEST(QXEDManager, EnciphersThePublishedExampleAsPublished) {
  const QXEDManager manager;
  const Bytes key{0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07,
                  0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F};
  const Bytes plain{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                    0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
  const auto ciphered = manager.enData(Data(plain), manager.skFromData(Data(key)));
  ASSERT_TRUE(ciphered);
  EXPECT_EQ(hexBytes(ciphered->bytes().first(16)), "69C4E0D86A7B0430D8CDB78070B4C55A");
}

TEST(QXEDManager, UsesTheLocalKeyWhereNoneIsGiven) {
  const QXEDManager manager;
  const auto local = manager.skFromData(Data(kLocalKeyBytes));
  EXPECT_EQ(manager.enData(plainOf(20)), manager.enData(plainOf(20), local));
  EXPECT_EQ(manager.deData(manager.enData(plainOf(20), manager.localSK())), plainOf(20));
}

TEST(QXEDManager, GivesNothingSilentlyWithoutAKeyOrWithoutData) {
  const QXEDManager manager;
  CapturedLog log;
  EXPECT_EQ(manager.enData(plainOf(16), nullptr), std::nullopt);
  EXPECT_EQ(manager.deData(plainOf(16), nullptr), std::nullopt);
  EXPECT_EQ(manager.enData(std::nullopt, manager.localSK()), std::nullopt);
  EXPECT_EQ(manager.deData(std::nullopt, manager.localSK()), std::nullopt);
  EXPECT_EQ(manager.enData(std::nullopt, nullptr), std::nullopt);
  EXPECT_EQ(manager.enData(std::nullopt), std::nullopt);
  EXPECT_EQ(manager.deData(std::nullopt), std::nullopt);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(QXEDManager, LogsOneLineForWhatCannotBeDeciphered) {
  const QXEDManager manager;
  const auto key = manager.skFromData(plainOf(16));
  std::string badPadding(manager.enData(plainOf(16), key).value().view());
  badPadding[15] = static_cast<char>(badPadding[15] ^ '\x7F');
  struct Row {
    const char* name;
    Data data;
  };
  for (const Row& row : std::vector<Row>{{"no bytes", Data()},
                                         {"no whole block", plainOf(15)},
                                         {"a block and a half", plainOf(24)},
                                         {"bad padding", Data(badPadding)}}) {
    CapturedLog log;
    EXPECT_EQ(manager.deData(row.data, key), std::nullopt) << row.name;
    EXPECT_THAT(log.lines(), ElementsAre(saysMoreThan(kDecipherError))) << row.name;
  }
}

// ---- texts
// ---------------------------------------------------------------------------------------

TEST(QXEDManager, EnciphersTextsInOneLayerAndBack) {
  struct Row {
    std::string_view text;
    std::size_t bytes;
  };
  const QXEDManager manager;
  CapturedLog log;
  for (const Row& row : std::vector<Row>{{"", 16},
                                         {"hello", 16},
                                         {"fifteen letters", 16},
                                         {"sixteen letters!", 32},
                                         {"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC", 16},
                                         {"\xF0\x9F\x98\x80", 16},
                                         {std::string_view("a\0b", 3), 16}}) {
    const auto ciphered = manager.enUTF8String(row.text);
    ASSERT_TRUE(ciphered) << row.text;
    EXPECT_EQ(ciphered->size(), row.bytes) << row.text;
    EXPECT_EQ(manager.deData(ciphered), Data(row.text)) << row.text;
    EXPECT_EQ(manager.deUTF8StringData(ciphered), row.text) << row.text;
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(QXEDManager, MakesNoTextOfBytesThatAreNotUTF8) {
  const QXEDManager manager;
  CapturedLog log;
  for (const char* bytes : {"\xFF", "\xC3", "abc\x80", "\xED\xA0\x80", "\xC0\x80"}) {
    EXPECT_EQ(manager.deUTF8StringData(manager.enData(Data(std::string_view(bytes)))),
              std::nullopt);
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(QXEDManager, MakesNoTextOfMissingOrUndecipherableData) {
  const QXEDManager manager;
  {
    CapturedLog log;
    EXPECT_EQ(manager.deUTF8StringData(std::nullopt), std::nullopt);
    EXPECT_THAT(log.lines(), IsEmpty());
  }
  CapturedLog log;
  EXPECT_EQ(manager.deUTF8StringData(plainOf(15)), std::nullopt);
  EXPECT_THAT(log.lines(), ElementsAre(saysMoreThan(kDecipherError)));
}

}  // namespace

}  // namespace halvarin::test
