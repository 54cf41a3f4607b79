#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>

#include "base/Exception.h"
#include "base/NumberText.h"
#include "database/QXEDManager.h"
#include "database/SaltTables.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/SharedData.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/unit/database/PlainDataAndLogLines.h"

namespace halvarin::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kDataFailed = "QXEDManager:dataFromSerializedData: failed";
constexpr const char* kFileFailed = "QXEDManager:dataFromSerializedFile: failed";
constexpr const char* kFileUnread = "QXEDManager:dataFromSerializedFile: failed to read context";

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
