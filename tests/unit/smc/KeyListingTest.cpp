#include "smc/KeyListing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Array.h"
#include "smc/KeyRecord.h"
#include "smc/QXSMCInterface.h"
#include "tests/support/Machines.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

platform::TransferFault fault(std::optional<std::uint8_t> command, std::uint64_t first,
                              std::uint64_t last, std::string_view code = "") {
  platform::TransferFault transfer;
  if (!code.empty()) {
    transfer.key = platform::fourBytes(code);
  }
  transfer.command = command;
  transfer.firstCall = first;
  transfer.lastCall = last;
  transfer.status = static_cast<std::int32_t>(0xE00002C2);
  return transfer;
}

std::vector<std::string> indexTexts(const ArrayRef& records) {
  std::vector<std::string> indices;
  for (const Value& each : records->elements()) {
    indices.push_back(each.dictionary()->get(record::kIndex).text().string());
  }
  return indices;
}

std::vector<platform::RecordedKey> numberedKeys(int count) {
  std::vector<platform::RecordedKey> keys;
  for (int i = 0; i < count; ++i) {
    const std::string digits = std::to_string(1000 + i).substr(1);
    keys.push_back(key("K" + digits, "ui8 ", {static_cast<std::uint8_t>(i)}));
  }
  return keys;
}

TEST(KeyListing, CountOfZeroGivesAnEmptyTable) {
  auto machine = machineWith({});
  machine.keys[0].bytes = {0, 0, 0, 0};
  const auto installed = install(machine);
  const auto smc = QXSMCInterface::init();
  ASSERT_TRUE(smc);
  EXPECT_EQ(smc->keyDict()->count(), 0U);
  EXPECT_EQ(smc->listKeysWithData()->count(), 0U);
  EXPECT_THAT(*installed.journal,
              ElementsAre("open type 0 -> connection 1", "call 1 info #KEY -> ui32 4",
                          "call 1 read #KEY size 4 -> 00000000"));
}

TEST(KeyListing, FourByteCountOf1234WalksIndices0To1233) {
  auto machine = machineWith({});
  machine.keys[0].bytes = {0x00, 0x00, 0x04, 0xD2};
  const auto installed = install(machine);
  ASSERT_TRUE(QXSMCInterface::init());
  int indices = 0;
  for (const std::string& line : *installed.journal) {
    indices += line.rfind("call 1 index ", 0) == 0 ? 1 : 0;
  }
  EXPECT_EQ(indices, 1234);
  EXPECT_THAT(*installed.journal, testing::Contains("call 1 index 1233 -> result B8"));
}

TEST(KeyListing, CountOfOneAndTwoBytesIsRead) {
  for (const Bytes& count : {Bytes{2}, Bytes{0, 2}}) {
    auto machine = machineWith({key("TC0P", "sp78", {1, 2})});
    machine.keys[0].bytes = count;
    machine.keys[0].sizeBytes = static_cast<std::uint32_t>(count.size());
    install(machine);
    EXPECT_EQ(QXSMCInterface::init()->keyDict()->count(), 2U) << count.size();
  }
}

TEST(KeyListing, CountOfAnyOtherSizeGivesAnEmptyTable) {
  for (const std::size_t size : {0U, 3U, 8U}) {
    auto machine = machineWith({key("TC0P", "sp78", {1, 2})});
    machine.keys[0].bytes = Bytes(size, 1);
    machine.keys[0].sizeBytes = static_cast<std::uint32_t>(size);
    install(machine);
    EXPECT_EQ(QXSMCInterface::init()->keyDict()->count(), 0U) << size;
  }
}

TEST(KeyListing, FailedCountTransfersGiveAnEmptyTable) {
  for (const std::uint64_t call : {1U, 2U}) {
    platform::Simulation simulation;
    simulation.faults = {fault(std::nullopt, call, call)};
    const auto installed = install(machineWith({key("TC0P", "sp78", {1, 2})}), simulation);
    EXPECT_EQ(QXSMCInterface::init()->keyDict()->count(), 0U) << call;
    EXPECT_EQ(installed.machine->transferCount(), call);
  }
}

TEST(KeyListing, FailedIndexIsLeftOutAndItsNeighboursAreThere) {
  // Two transfers for the count, then two for each index: index 5 is asked for in transfer 13.
  platform::Simulation simulation;
  simulation.faults = {fault(8, 13, 13)};
  install(machineWith(numberedKeys(9)), simulation);
  const auto smc = QXSMCInterface::init();
  EXPECT_THAT(indexTexts(smc->listKeysWithData()),
              ElementsAre("0", "1", "2", "3", "4", "6", "7", "8", "9"));
}

TEST(KeyListing, EachIndexCostsTwoTransfers) {
  const auto installed = install(machineWith(numberedKeys(2)));
  ASSERT_TRUE(QXSMCInterface::init());
  EXPECT_THAT(*installed.journal,
              ElementsAre("open type 0 -> connection 1", "call 1 info #KEY -> ui32 4",
                          "call 1 read #KEY size 4 -> 00000003", "call 1 index 0 -> #KEY",
                          "call 1 info #KEY -> ui32 4", "call 1 index 1 -> K000",
                          "call 1 info K000 -> ui8  1", "call 1 index 2 -> K001",
                          "call 1 info K001 -> ui8  1"));
}

TEST(KeyListing, RecordsHoldTheirEntriesInOrder) {
  install(machineWith({key("TC0P", "sp78", {1, 2})}));
  const auto smc = QXSMCInterface::init();
  const DictionaryRef record = smc->keyDict()->get("TC0P").dictionary();
  std::vector<std::string> names;
  for (const auto& [name, value] : record->entries()) {
    names.push_back(name.string());
  }
  EXPECT_THAT(names, ElementsAre("index", "key", "key32", "type32", "dataType", "dataSize"));
  EXPECT_EQ(record->get("index"), Value("1"));
  EXPECT_EQ(record->get("key32"), Value(0x50304354));
  EXPECT_EQ(record->get("type32"), Value(0x38377073));
  EXPECT_EQ(record->get("dataType"), Value("sp78"));
  EXPECT_EQ(record->get("dataSize"), Value(2));
}

TEST(KeyListing, FailedInfoLeavesARecordWithItsIndexOnly) {
  platform::Simulation simulation;
  simulation.faults = {fault(9, 1, 99, "TC0P")};
  install(machineWith({key("TC0P", "sp78", {1, 2})}), simulation);
  const DictionaryRef record = QXSMCInterface::init()->keyDict()->get("TC0P").dictionary();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->count(), 1U);
  EXPECT_EQ(record->get("index"), Value("1"));
}

TEST(KeyListing, CodeCutAtAZeroByteGetsARecordWithItsIndexOnly) {
  auto cut = key("", "ui8 ", {7});
  cut.code = {'A', 'B', '\0', 'C'};
  const auto installed = install(machineWith({cut}));
  const auto smc = QXSMCInterface::init();
  const DictionaryRef record = smc->keyDict()->get("AB").dictionary();
  ASSERT_TRUE(record);
  EXPECT_EQ(record->count(), 1U);
  // No key info was asked for: the text has not four characters.
  EXPECT_EQ(installed.journal->back(), "call 1 index 1 -> AB?C");
  // It is read all the same, as a key of nothing, which the controller does not know.
  smc->listKeysWithData();
  EXPECT_EQ(record->get("error"), Value(0));
  EXPECT_EQ(record->get("value"), Value(0));
}

TEST(KeyListing, LaterIndexOfTheSameTextReplacesTheEarlierRecord) {
  auto first = key("", "ui8 ", {7});
  first.code = {'A', 'B', '\0', 'C'};
  auto second = key("", "ui8 ", {7});
  second.code = {'A', 'B', '\0', 'D'};
  install(machineWith({first, second}));
  const auto smc = QXSMCInterface::init();
  EXPECT_EQ(smc->keyDict()->count(), 2U);
  EXPECT_EQ(smc->keyDict()->get("AB").dictionary()->get("index"), Value("2"));
}

TEST(KeyListing, CodeThatIsNoUtf8IsLeftOut) {
  install(machineWith({key("\xFF\xFE\xFD\xFC", "ui8 ", {7}), key("TC0P", "sp78", {1, 2})}));
  EXPECT_EQ(QXSMCInterface::init()->keyDict()->count(), 2U);
}

TEST(KeyListing, ListsInNumericOrderOfTheIndex) {
  install(machineWith(numberedKeys(24)));
  const auto smc = QXSMCInterface::init();
  std::vector<std::string> expected;
  for (int i = 0; i < 25; ++i) {
    expected.push_back(std::to_string(i));
  }
  EXPECT_THAT(indexTexts(smc->listKeysWithData()), ElementsAreArray(expected));
}

TEST(KeyListing, ListAndTableShareTheirRecords) {
  const auto installed = install(machineWith({key("TC0P", "sp78", {0x10, 0x00})}));
  const auto smc = QXSMCInterface::init();
  const ArrayRef all = smc->listKeysWithData();
  const DictionaryRef listed = all->at(1).dictionary();
  EXPECT_EQ(listed, smc->keyDict()->get("TC0P").dictionary());
  EXPECT_EQ(listed->get("value"), Value(0x1000));
  ASSERT_TRUE(installed.machine->setReading("TC0P", 32));
  smc->SMCReadKey("TC0P");
  EXPECT_EQ(listed->get("value"), Value(0x2000));
}

TEST(KeyListing, ListingWithDataCostsOneReadPerKeyAndNoKeyInfo) {
  const auto installed = install(machineWith(numberedKeys(2)));
  const auto smc = QXSMCInterface::init();
  installed.journal->clear();
  smc->listKeysWithData();
  EXPECT_THAT(*installed.journal,
              ElementsAre("call 1 read #KEY size 4 -> 00000003", "call 1 read K000 size 1 -> 00",
                          "call 1 read K001 size 1 -> 01"));
}

TEST(KeyListing, ListingWithoutDataCostsNothing) {
  const auto installed = install(machineWith(numberedKeys(3)));
  const auto smc = QXSMCInterface::init();
  const std::uint64_t before = installed.machine->transferCount();
  EXPECT_EQ(smc->listKeys()->count(), 4U);
  EXPECT_EQ(installed.machine->transferCount(), before);
}

TEST(KeyListing, FailedReadStaysInTheListWithItsError) {
  platform::Simulation simulation;
  simulation.faults = {fault(5, 1, 99, "K001")};
  install(machineWith(numberedKeys(2)), simulation);
  const ArrayRef all = QXSMCInterface::init()->listKeysWithData();
  ASSERT_EQ(all->count(), 3U);
  EXPECT_EQ(all->at(2).dictionary()->get("error"), Value(static_cast<std::int32_t>(0xE00002C2)));
  EXPECT_FALSE(all->at(2).dictionary()->has("value"));
}

TEST(KeyInfo, TextsOfThreeOrFiveCharactersGiveNothingWithoutATransfer) {
  const auto installed = install(machineWith({key("TC0P", "sp78", {1, 2})}));
  const auto smc = QXSMCInterface::init();
  const std::uint64_t before = installed.machine->transferCount();
  for (const char* text : {"", "TC0", "TC0PX", "\xC3\xA9\xC3\xA9", "\xFF\xFF\xFF\xFF"}) {
    EXPECT_EQ(smc->getInfoSMCKey(text)->count(), 0U) << text;
  }
  EXPECT_EQ(installed.machine->transferCount(), before);
}

TEST(KeyInfo, HasNoIndexAndIsANewRecord) {
  install(machineWith({key("FS! ", "ui16", {0, 0})}));
  const auto smc = QXSMCInterface::init();
  const DictionaryRef info = smc->getInfoSMCKey("FS! ");
  EXPECT_EQ(info->count(), 5U);
  EXPECT_EQ(info->get("key"), Value("FS! "));
  EXPECT_EQ(info->get("key32"), Value(0x20215346));
  EXPECT_NE(info, smc->keyDict()->get("FS! ").dictionary());
}

TEST(KeyInfo, FailedTransferGivesNothing) {
  platform::Simulation simulation;
  simulation.faults = {fault(9, 1, 99, "TC0P")};
  install(machineWith({key("TC0P", "sp78", {1, 2})}), simulation);
  EXPECT_EQ(QXSMCInterface::init()->getInfoSMCKey("TC0P")->count(), 0U);
}

TEST(KeyInfo, DeliberateKeyThatTheControllerDoesNotKnowGetsAnEmptyType) {
  install(machineWith({}));
  const DictionaryRef info = QXSMCInterface::init()->getInfoSMCKey("none");
  EXPECT_EQ(info->get("dataType"), Value(""));
  EXPECT_EQ(info->get("dataSize"), Value(0));
}

TEST(KeyInfo, TypeWithAZeroByteIsCutThere) {
  auto small = key("BATP", "", {1});
  small.type = {'u', 'i', '8', '\0'};
  install(machineWith({small}));
  const DictionaryRef info = QXSMCInterface::init()->getInfoSMCKey("BATP");
  EXPECT_EQ(info->get("dataType"), Value("ui8"));
  EXPECT_EQ(info->get("type32"), Value(0x00386975));
}

}  // namespace
}  // namespace halvarin::test
