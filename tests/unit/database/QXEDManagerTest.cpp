#include "database/QXEDManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Exception.h"
#include "base/NumberText.h"
#include "database/SaltTables.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/SharedData.h"
#include "tests/unit/database/TableFolder.h"

namespace halvarin::test {

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Bytes = std::vector<std::uint8_t>;

constexpr const char* kDataFailed = "QXEDManager:dataFromSerializedData: failed";
constexpr const char* kFileFailed = "QXEDManager:dataFromSerializedFile: failed";
constexpr const char* kFileUnread = "QXEDManager:dataFromSerializedFile: failed to read context";
constexpr std::string_view kDecipherError = "QXEDManager::deData: error: ";

/// A line that begins with this and says something after it.
auto saysMoreThan(std::string_view beginning) {
  return AllOf(StartsWith(std::string(beginning)),
               ::testing::ResultOf([](const std::string& line) { return line.size(); },
                                   ::testing::Gt(beginning.size())));
}

/// Bytes that differ from place to place.
Data plainOf(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
  }
  return Data(bytes);
}

Data joined(const Data& head, const Data& tail) {
  return Data(std::string(head.view()) + std::string(tail.view()));
}

/// The container of a payload, made step by step.
Data containerOf(const Data& payload) {
  const QXEDManager manager;
  const Data salt = manager.saltBlockData();
  const auto key = manager.skFromData(manager.secKeyDataFromSaltBlockData(salt));
  const auto inner = manager.enData(payload, key);
  return manager.enData(joined(salt, inner.value())).value();
}

/// A container whose outer layer is sound and whose inner one has a padding that cannot be.
Data containerWithBadPadding() {
  const QXEDManager manager;
  const Data salt = manager.saltBlockData();
  const auto key = manager.skFromData(manager.secKeyDataFromSaltBlockData(salt));
  std::string inner(manager.enData(plainOf(16), key).value().view());
  // The last block is 16 times 16; in this mode a bit of the block before it turns the same one
  // here.
  inner[15] = static_cast<char>(inner[15] ^ '\x7F');
  return manager.enData(joined(salt, Data(inner))).value();
}

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

// ---- reading containers
// --------------------------------------------------------------------------

TEST(QXEDManager, ReadsWhatWasWritten) {
  const QXEDManager manager;
  CapturedLog log;
  for (const std::size_t size : {0U, 1U, 15U, 16U, 17U, 1000U, 100000U}) {
    EXPECT_EQ(manager.dataFromSerializedData(containerOf(plainOf(size))), plainOf(size)) << size;
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(QXEDManager, TakesTheSaltFromTheContainerAndNotItsOwn) {
  const QXEDManager manager;
  Bytes salt(1063);
  for (std::size_t i = 0; i < salt.size(); ++i) {
    salt[i] = static_cast<std::uint8_t>(i % 251);
  }
  Bytes innerKey;
  for (const std::uint64_t position : kSBSKIndices) {
    innerKey.push_back(static_cast<std::uint8_t>(position % 251));
  }
  const auto inner = manager.enData(plainOf(40), manager.skFromData(Data(innerKey)));
  const auto container = manager.enData(joined(Data(salt), inner.value()));
  EXPECT_EQ(manager.dataFromSerializedData(container), plainOf(40));
}

TEST(QXEDManager, RefusesAContainerOfLessThanASaltBlockWithOneLine) {
  const QXEDManager manager;
  for (std::size_t size = 0; size < 1063; ++size) {
    CapturedLog log;
    ASSERT_EQ(manager.dataFromSerializedData(manager.enData(plainOf(size))), std::nullopt) << size;
    ASSERT_THAT(log.lines(), ElementsAre(kDataFailed)) << size;
  }
}

TEST(QXEDManager, DeliberateSilenceAboutAContainerOfExactlyASaltBlock) {
  const QXEDManager manager;
  CapturedLog log;
  EXPECT_EQ(manager.dataFromSerializedData(manager.enData(plainOf(1063))), std::nullopt);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(QXEDManager, RefusesAnInnerLayerOfNoWholeBlock) {
  const QXEDManager manager;
  CapturedLog log;
  EXPECT_EQ(manager.dataFromSerializedData(manager.enData(plainOf(1064))), std::nullopt);
  EXPECT_THAT(log.lines(), ElementsAre(saysMoreThan(kDecipherError), kDataFailed));
}

TEST(QXEDManager, DeliberateSingleAndDoubledColonsInTheLinesAboutACorruptInnerLayer) {
  const QXEDManager manager;
  CapturedLog log;
  EXPECT_EQ(manager.dataFromSerializedData(containerWithBadPadding()), std::nullopt);
  EXPECT_THAT(log.lines(), ElementsAre(saysMoreThan(kDecipherError), kDataFailed));
}

TEST(QXEDManager, RefusesACorruptInnerLayerOfAFileWithItsLinesInOrder) {
  const TemporaryFolder folder;
  folder.write("corrupt", std::string(containerWithBadPadding().view()));
  CapturedLog log;
  EXPECT_EQ(QXEDManager().dataFromSerializedFile(folder.file("corrupt")), std::nullopt);
  EXPECT_THAT(log.lines(), ElementsAre(saysMoreThan(kDecipherError), kDataFailed, kFileFailed));
}

TEST(QXEDManager, RefusesAFileThatIsNoContainerWithItsLinesInOrder) {
  const TemporaryFolder folder;
  folder.write("text", "this is no container at all");
  folder.write("empty", "");
  for (const char* name : {"text", "empty"}) {
    CapturedLog log;
    EXPECT_EQ(QXEDManager().dataFromSerializedFile(folder.file(name)), std::nullopt) << name;
    EXPECT_THAT(log.lines(), ElementsAre(saysMoreThan(kDecipherError), kDataFailed, kFileFailed))
        << name;
  }
}

TEST(QXEDManager, RefusesMissingDataAsAContainerThatFailed) {
  CapturedLog log;
  EXPECT_EQ(QXEDManager().dataFromSerializedData(std::nullopt), std::nullopt);
  EXPECT_THAT(log.lines(), ElementsAre(kDataFailed));
}

TEST(QXEDManager, CannotReadAMissingFileOrAFolder) {
  const TemporaryFolder folder;
  for (const std::string& path : {folder.file("missing"), folder.path().string(), std::string()}) {
    CapturedLog log;
    EXPECT_EQ(QXEDManager().dataFromSerializedFile(path), std::nullopt) << path;
    EXPECT_THAT(log.lines(), ElementsAre(kFileUnread)) << path;
  }
}

TEST(QXEDManager, GivesNothingOrThePayloadForEveryTruncation) {
  const QXEDManager manager;
  const Data payload = plainOf(50);
  const Data container = containerOf(payload);
  CapturedLog log;
  for (std::size_t length = 0; length < container.size(); ++length) {
    const auto read = manager.dataFromSerializedData(Data(container.bytes().first(length)));
    ASSERT_TRUE(!read || *read == payload) << length;
  }
  EXPECT_EQ(manager.dataFromSerializedData(container), payload);
}

TEST(QXEDManager, GivesNothingOrSomethingForEveryFlippedByteAndNeverFaults) {
  const QXEDManager manager;
  const Data payload = plainOf(50);
  const Data container = containerOf(payload);
  std::size_t refused = 0;
  CapturedLog log;
  for (std::size_t at = 0; at < container.size(); ++at) {
    std::string bytes(container.view());
    bytes[at] = static_cast<char>(bytes[at] ^ '\x55');
    if (manager.dataFromSerializedData(Data(bytes)) != payload) {
      ++refused;
    }
  }
  // Where neither the key's bytes nor the inner layer are hit the payload is still there.
  EXPECT_GT(refused, 100U);
  EXPECT_LT(refused, container.size());
}

// ---- writing containers
// --------------------------------------------------------------------------

TEST(QXEDManager, HandsOutACopyOfItsSaltBlock) {
  const Data salt = QXEDManager().saltBlockData();
  ASSERT_EQ(salt.size(), 1063U);
  EXPECT_TRUE(std::equal(salt.bytes().begin(), salt.bytes().end(), std::begin(kSaltBlock)));
  EXPECT_NE(salt.bytes().data(), kSaltBlock);
}

TEST(QXEDManager, PicksTheKeyFromASaltBlockInTheOrderOfItsTable) {
  // Every byte pair tells its position: picked by low byte and by high byte, the table comes out.
  Bytes low(1063);
  Bytes high(1063);
  for (std::size_t i = 0; i < low.size(); ++i) {
    low[i] = static_cast<std::uint8_t>(i);
    high[i] = static_cast<std::uint8_t>(i >> 8U);
  }
  const QXEDManager manager;
  const Data lowKey = manager.secKeyDataFromSaltBlockData(Data(low));
  const Data highKey = manager.secKeyDataFromSaltBlockData(Data(high));
  ASSERT_EQ(lowKey.size(), 16U);
  ASSERT_EQ(highKey.size(), 16U);
  for (std::size_t i = 0; i < 16; ++i) {
    EXPECT_EQ(lowKey.bytes()[i] + 256U * highKey.bytes()[i], kSaltBlockSecKeyIndices[i]) << i;
  }
}

TEST(QXEDManager, ThrowsARangeErrorForASaltBlockThatIsTooShort) {
  const QXEDManager manager;
  const std::uint64_t last =
      *std::max_element(std::begin(kSaltBlockSecKeyIndices), std::end(kSaltBlockSecKeyIndices));
  EXPECT_EQ(manager.secKeyDataFromSaltBlockData(plainOf(last + 1)).size(), 16U);
  for (const std::size_t size : {std::size_t{0}, std::size_t{16}, static_cast<std::size_t>(last)}) {
    try {
      static_cast<void>(manager.secKeyDataFromSaltBlockData(plainOf(size)));
      ADD_FAILURE() << "no error for a block of " << size;
    } catch (const Exception& error) {
      EXPECT_EQ(error.name(), "NSRangeException") << size;
      EXPECT_NE(error.reason(), "") << size;
    }
  }
}

TEST(QXEDManager, WritesAContainerThatItReadsFromTheFile) {
  const TemporaryFolder folder;
  const QXEDManager manager;
  CapturedLog log;
  const std::string path = folder.file("container");
  for (const std::size_t size : {0U, 16U, 5000U}) {
    EXPECT_TRUE(manager.enDataToFile(plainOf(size), path)) << size;
    EXPECT_EQ(manager.dataFromSerializedFile(path), plainOf(size)) << size;
    EXPECT_EQ(fileText(path), containerOf(plainOf(size)).view()) << size;
  }
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(QXEDManager, ReplacesALongerFileWhole) {
  const TemporaryFolder folder;
  folder.write("container", std::string(100000, 'x'));
  EXPECT_TRUE(QXEDManager().enDataToFile(plainOf(10), folder.file("container")));
  EXPECT_EQ(fileText(folder.file("container")).size(), 1088U);  // 1063 + 16, padded
}

TEST(QXEDManager, FailsToWriteWhereNoFileCanBe) {
  const TemporaryFolder folder;
  const QXEDManager manager;
  for (const std::string& path :
       {folder.file("no/such/folder/container"), folder.path().string(), std::string()}) {
    CapturedLog log;
    EXPECT_FALSE(manager.enDataToFile(plainOf(10), path)) << path;
    EXPECT_THAT(log.lines(), ElementsAre("QXEDManager+Salt:enData:toFile: failed to write"))
        << path;
  }
}

TEST(QXEDManager, FailsToWriteWhereTheDiskIsFull) {
  constexpr const char* kFull = "/dev/full";
  if (!std::filesystem::exists(kFull)) {
    GTEST_SKIP() << "this computer has no " << kFull;
  }
  CapturedLog log;
  EXPECT_FALSE(QXEDManager().enDataToFile(plainOf(10), kFull));
  EXPECT_THAT(log.lines(), ElementsAre("QXEDManager+Salt:enData:toFile: failed to write"));
}

TEST(QXEDManager, WritesNoFileWithoutAPayload) {
  const TemporaryFolder folder;
  CapturedLog log;
  EXPECT_FALSE(QXEDManager().enDataToFile(std::nullopt, folder.file("container")));
  EXPECT_THAT(log.lines(), ElementsAre("QXEDManager+Salt:enData:toFile: failed"));
  EXPECT_FALSE(std::filesystem::exists(folder.file("container")));
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

// ---- an independent cipher
// -----------------------------------------------------------------------

/// Runs a command and tells whether it ended well.
bool runs(const std::string& command) {
  std::FILE* const pipe = ::popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) {
    return false;
  }
  std::array<char, 256> output{};
  while (std::fgets(output.data(), static_cast<int>(output.size()), pipe) != nullptr) {
  }
  return ::pclose(pipe) == 0;
}

/// Enciphers a file with the command line of OpenSSL.
bool encipherByCommand(const std::string& hexKey, const std::string& from, const std::string& to) {
  return runs("openssl enc -aes-128-cbc -K " + hexKey + " -iv " + std::string(32, '0') + " -in '" +
              from + "' -out '" + to + "'");
}

TEST(QXEDManager, ReadsAContainerMadeByAnIndependentCipher) {
  if (!runs("openssl version")) {
    GTEST_SKIP() << "the command \"openssl\" is not installed";
  }
  const TemporaryFolder folder;
  Bytes salt(1063);
  for (std::size_t i = 0; i < salt.size(); ++i) {
    salt[i] = static_cast<std::uint8_t>(i * 31 + 5);
  }
  Bytes innerKey;
  for (const std::uint64_t position : kSBSKIndices) {
    innerKey.push_back(salt[position]);
  }
  const Data payload = plainOf(777);
  folder.write("payload", std::string(payload.view()));
  ASSERT_TRUE(encipherByCommand(hexBytes(innerKey), folder.file("payload"), folder.file("inner")));
  folder.write("plain", std::string(salt.begin(), salt.end()) + fileText(folder.file("inner")));
  ASSERT_TRUE(
      encipherByCommand(hexBytes(kLocalKeyBytes), folder.file("plain"), folder.file("container")));

  CapturedLog log;
  EXPECT_EQ(QXEDManager().dataFromSerializedFile(folder.file("container")), payload);
  EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace

}  // namespace halvarin::test
