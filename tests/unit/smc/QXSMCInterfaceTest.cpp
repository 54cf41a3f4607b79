#include "smc/QXSMCInterface.h"

#include <IOKit/IOKitLib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "tests/support/Machines.h"
#include "tests/support/WireTap.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;

constexpr std::int32_t kRefused = static_cast<std::int32_t>(0xE00002C1);

Bytes bytesOf(const DictionaryRef& record) {
  const auto bytes = record->get("dataBytes").data();
  return {bytes.bytes().begin(), bytes.bytes().end()};
}

/// A tap before a simulated machine with these keys, made the current machine.
std::shared_ptr<WireTap> tapBefore(std::vector<platform::RecordedKey> keys) {
  auto tap = std::make_shared<WireTap>(
      std::make_shared<platform::SimulatedMachine>(machineWith(std::move(keys))));
  platform::setMachine(tap);
  return tap;
}

// ---- start -------------------------------------------------------------------------------------

TEST(QXSMCInterface, StartsOnlyWhereAServiceExists) {
  EXPECT_FALSE(QXSMCInterface::init());
  const auto counts = platform::handleCounts();
  EXPECT_EQ(counts.servicesFound, 0U);
  EXPECT_EQ(counts.connectionsOpened, 0U);
  EXPECT_EQ(counts.matchingsMade, counts.matchingsTaken);
}

TEST(QXSMCInterface, OpensOnceAndReleasesTheServiceAtStart) {
  install(machineWith({}));
  const auto smc = QXSMCInterface::init();
  const auto counts = platform::handleCounts();
  EXPECT_EQ(counts.servicesFound, 1U);
  EXPECT_EQ(counts.servicesReleased, 1U);
  EXPECT_EQ(counts.connectionsOpened, 1U);
  EXPECT_EQ(counts.connectionsClosed, 0U);
}

TEST(QXSMCInterface, FailedOpenAtStartLeavesAnEmptyTableAndWorkingWrites) {
  const auto tap = tapBefore({key("FS! ", "ui16", {0, 0})});
  tap->refuseOpens(kRefused);
  const auto smc = QXSMCInterface::init();
  ASSERT_TRUE(smc);
  EXPECT_EQ(smc->keyDict()->count(), 0U);
  EXPECT_EQ(smc->SMCReadKey("FS! "), nullptr);
  tap->refuseOpens(std::nullopt);
  EXPECT_EQ(smc->SMCWriteKey("FS! ", 3, 2), 0);
  EXPECT_EQ(platform::handleCounts().servicesReleased, platform::handleCounts().servicesFound);
}

TEST(QXSMCInterface, InertMembersAreThere) {
  install(machineWith({}));
  const auto smc = QXSMCInterface::init();
  EXPECT_FALSE(smc->writeTaskPath().has_value());
  smc->setWriteTaskPath("somewhere");
  EXPECT_EQ(smc->writeTaskPath(), "somewhere");
  ASSERT_TRUE(smc->smcWriteLock());
  const auto before = platform::handleCounts();
  smc->writeSMC();
  EXPECT_EQ(platform::handleCounts().connectionsOpened, before.connectionsOpened);
}

TEST(QXSMCInterface, DestroyingTheInstanceLeavesTheConnectionOpen) {
  install(machineWith({}));
  QXSMCInterface::init().reset();
  EXPECT_EQ(platform::handleCounts().connectionsClosed, 0U);
}

// ---- reading -----------------------------------------------------------------------------------

TEST(SMCReadKey, KeyThatWasNotListedIsNotReadEvenIfTheControllerHasIt) {
  auto machine = machineWith({key("AAAA", "ui8 ", {1}), key("TC0P", "sp78", {1, 2})});
  machine.keys[0].bytes = {0, 0, 0, 2};  // the list stops before TC0P
  const auto installed = install(machine);
  const auto smc = QXSMCInterface::init();
  const std::uint64_t before = installed.machine->transferCount();
  EXPECT_EQ(smc->SMCReadKey("TC0P"), nullptr);
  EXPECT_EQ(smc->SMCReadKey("none"), nullptr);
  EXPECT_EQ(installed.machine->transferCount(), before);
}

TEST(SMCReadKey, CostsOneTransferAndReturnsTheTablesRecord) {
  const auto installed = install(machineWith({key("TC0P", "sp78", {0x3A, 0x80})}));
  const auto smc = QXSMCInterface::init();
  installed.journal->clear();
  const DictionaryRef record = smc->SMCReadKey("TC0P");
  EXPECT_EQ(record, smc->keyDict()->get("TC0P").dictionary());
  EXPECT_THAT(*installed.journal, ElementsAre("call 1 read TC0P size 2 -> 3A80"));
  EXPECT_EQ(record->get("value"), Value(0x3A80));
  EXPECT_EQ(record->get("error"), Value(0));
}

TEST(SMCReadKey, BytesAreAlways32EvenForAOneByteKey) {
  install(machineWith({key("FNum", "ui8 ", {2})}));
  const DictionaryRef record = QXSMCInterface::init()->SMCReadKey("FNum");
  Bytes expected(32, 0);
  expected[0] = 2;
  EXPECT_EQ(bytesOf(record), expected);
}

TEST(SMCReadKey, OddSizeReadsZeroAndKeepsItsBytes) {
  install(machineWith({key("AAA3", "hex_", {1, 2, 3}), key("AAA6", "hex_", {1, 2, 3, 4, 5, 6})}));
  const auto smc = QXSMCInterface::init();
  EXPECT_EQ(smc->SMCReadKey("AAA3")->get("value"), Value(0));
  EXPECT_EQ(bytesOf(smc->SMCReadKey("AAA3"))[2], 3);
  EXPECT_EQ(smc->SMCReadKey("AAA6")->get("value"), Value(0));
  EXPECT_EQ(bytesOf(smc->SMCReadKey("AAA6"))[5], 6);
}

TEST(SMCReadKey, Ui16ReadsAlikeInEitherOrder) {
  install(machineWith({key("AAAA", "ui16", {0x01, 0x2C}), key("AAAB", "ui16", {0x2C, 0x01})}));
  const auto smc = QXSMCInterface::init();
  EXPECT_EQ(smc->SMCReadKey("AAAA")->get("value"), Value(300));
  EXPECT_EQ(smc->SMCReadKey("AAAB")->get("value"), Value(300));
}

TEST(SMCReadKey, FixedPointAndFloatKeepTheBigEndianReading) {
  install(
      machineWith({key("F0Ac", "fpe2", {0x2C, 0x01}), key("TF0 ", "flt ", {0x48, 0x42, 0, 0})}));
  const auto smc = QXSMCInterface::init();
  EXPECT_EQ(smc->SMCReadKey("F0Ac")->get("value"), Value(11265));
  EXPECT_EQ(smc->SMCReadKey("TF0 ")->get("value"), Value(0x48420000));
}

TEST(SMCReadKey, FailedReadSetsTheErrorAloneAndKeepsTheLastReading) {
  platform::TransferFault fault;
  fault.key = platform::fourBytes("TC0P");
  fault.command = 5;
  fault.firstCall = 8;  // after listing two keys (6 transfers) and one good reading
  fault.status = kRefused;
  platform::Simulation simulation;
  simulation.faults = {fault};
  install(machineWith({key("TC0P", "sp78", {0x3A, 0x80})}), simulation);
  const auto smc = QXSMCInterface::init();
  const DictionaryRef good = smc->SMCReadKey("TC0P");
  const Bytes before = bytesOf(good);
  const DictionaryRef failed = smc->SMCReadKey("TC0P");
  EXPECT_EQ(failed, good);
  EXPECT_EQ(failed->get("error"), Value(kRefused));
  EXPECT_EQ(failed->get("value"), Value(0x3A80));
  EXPECT_EQ(bytesOf(failed), before);
}

TEST(SMCReadKey, RecordNeverReadSuccessfullyHasNoReading) {
  auto refusing = key("AAAA", "hex_", {});
  refusing.sizeBytes = 40;
  refusing.status = kRefused;
  install(machineWith({refusing}));
  const DictionaryRef record = QXSMCInterface::init()->SMCReadKey("AAAA");
  EXPECT_EQ(record->get("error"), Value(kRefused));
  EXPECT_FALSE(record->has("value"));
  EXPECT_FALSE(record->has("dataBytes"));
}

TEST(SMCReadKey, DeliberateControllersRefusalIsNotNoticed) {
  auto refusing = key("AAAA", "ui8 ", {});
  refusing.sizeBytes = 1;
  refusing.result = 0x85;
  install(machineWith({refusing}));
  const DictionaryRef record = QXSMCInterface::init()->SMCReadKey("AAAA");
  EXPECT_EQ(record->get("error"), Value(0));
  EXPECT_EQ(record->get("value"), Value(0));
}

// ---- writing -----------------------------------------------------------------------------------

struct WriteRow {
  std::uint32_t data;
  std::uint32_t size;
  Bytes expected;
};

TEST(SMCWriteKey, CarriesTheLowBytesMostSignificantFirst) {
  const auto tap = tapBefore({key("AAAA", "ui32", {0, 0, 0, 0})});
  const auto smc = QXSMCInterface::init();
  const std::vector<WriteRow> rows{{0x1FF, 1, {0xFF}},
                                   {0x1234, 2, {0x12, 0x34}},
                                   {0x12345678, 4, {0x12, 0x34, 0x56, 0x78}},
                                   {0xABCDEF, 2, {0xCD, 0xEF}}};
  for (const WriteRow& row : rows) {
    tap->forgetRequests();
    EXPECT_EQ(smc->SMCWriteKey("AAAA", row.data, row.size), 0);
    WireTap::RawRecord expected(80, 0);
    std::fill_n(expected.begin(), 4, 'A');
    expected[28] = static_cast<std::uint8_t>(row.size);
    expected[42] = 6;
    std::copy(row.expected.begin(), row.expected.end(), expected.begin() + 48);
    EXPECT_EQ(tap->requests(), std::vector<WireTap::RawRecord>(1, expected)) << row.size;
  }
}

TEST(SMCWriteKey, DeliberateOtherSizesCarryOneByteUnderTheSizeGiven) {
  const auto tap = tapBefore({});
  const auto smc = QXSMCInterface::init();
  for (const std::uint32_t size : {0U, 3U, 5U, 8U, 32U, 300U}) {
    tap->forgetRequests();
    EXPECT_EQ(smc->SMCWriteKey("AAAA", 0x12345678, size), 0);
    const auto request = tap->requests().at(0);
    EXPECT_EQ(request[28] + 256U * request[29], size);
    EXPECT_EQ(request[48], 0x78);
    EXPECT_TRUE(std::all_of(request.begin() + 49, request.end(), [](auto b) { return b == 0; }));
  }
}

TEST(SMCWriteKey, SendsTheKeyInWireOrder) {
  const auto tap = tapBefore({});
  const auto smc = QXSMCInterface::init();
  tap->forgetRequests();
  EXPECT_EQ(smc->SMCWriteKey("FS! ", 0, 2), 0);
  const auto request = tap->requests().at(0);
  EXPECT_EQ(std::string(request.begin(), request.begin() + 4), " !SF");
}

TEST(SMCWriteKey, UsesAConnectionOfItsOwnAndGivesEverythingBack) {
  const auto installed = install(machineWith({key("FS! ", "ui16", {0, 0})}));
  const auto smc = QXSMCInterface::init();
  installed.journal->clear();
  EXPECT_EQ(smc->SMCWriteKey("FS! ", 3, 2), 0);
  EXPECT_THAT(*installed.journal,
              ElementsAre("open type 0 -> connection 2",
                          "call 2 write FS!  size 2 bytes 0003 -> done", "close 2 -> done"));
  const auto counts = platform::handleCounts();
  EXPECT_EQ(counts.servicesFound, 2U);
  EXPECT_EQ(counts.servicesReleased, 2U);
  EXPECT_EQ(counts.connectionsOpened, 2U);
  EXPECT_EQ(counts.connectionsClosed, 1U);
}

TEST(SMCWriteKey, UpdatesNoRecord) {
  install(machineWith({key("FS! ", "ui16", {0, 0})}));
  const auto smc = QXSMCInterface::init();
  const DictionaryRef record = smc->SMCReadKey("FS! ");
  EXPECT_EQ(smc->SMCWriteKey("FS! ", 3, 2), 0);
  EXPECT_EQ(record->get("value"), Value(0));
  EXPECT_EQ(smc->SMCReadKey("FS! ")->get("value"), Value(3));
}

TEST(SMCWriteKey, KeyNeedsNotBeListed) {
  const auto installed = install(machineWith({}));
  const auto smc = QXSMCInterface::init();
  EXPECT_EQ(smc->SMCWriteKey("none", 1, 1), 0);  // the controller's own refusal is not noticed
  EXPECT_THAT(*installed.journal,
              testing::Contains("call 2 write none size 1 bytes 01 -> result 84"));
}

TEST(SMCWriteKey, MissingServiceOrFailedOpenIsStatus5AndTheServiceIsReleased) {
  const auto tap = tapBefore({key("FS! ", "ui16", {0, 0})});
  const auto smc = QXSMCInterface::init();
  tap->refuseOpens(kRefused);
  EXPECT_EQ(smc->SMCWriteKey("FS! ", 1, 2), 5);
  EXPECT_EQ(platform::handleCounts().servicesReleased, platform::handleCounts().servicesFound);
  tap->refuseOpens(std::nullopt);
  tap->hideService(true);
  EXPECT_EQ(smc->SMCWriteKey("FS! ", 1, 2), 5);
}

TEST(SMCWriteKey, FailedTransferGivesThePlatformsStatusAndClosesAllTheSame) {
  platform::TransferFault fault;
  fault.command = 6;
  fault.status = kRefused;
  platform::Simulation simulation;
  simulation.faults = {fault};
  install(machineWith({key("FS! ", "ui16", {0, 0})}), simulation);
  const auto smc = QXSMCInterface::init();
  EXPECT_EQ(smc->SMCWriteKey("FS! ", 1, 2), kRefused);
  EXPECT_EQ(platform::handleCounts().connectionsClosed, 1U);
}

TEST(QXSMCInterface, AbsentTableAndLockAreNoFault) {
  install(machineWith({key("FS! ", "ui16", {0, 0})}));
  const auto smc = QXSMCInterface::init();
  smc->setKeyDict(nullptr);
  EXPECT_EQ(smc->SMCReadKey("FS! "), nullptr);
  EXPECT_EQ(smc->listKeys()->count(), 0U);
  EXPECT_EQ(smc->listKeysWithData()->count(), 0U);
  smc->setSmcWriteLock(nullptr);
  EXPECT_EQ(smc->SMCWriteKey("FS! ", 1, 2), 0);
}

TEST(SMCWriteKey, WritesOfSeveralThreadsNeverOverlap) {
  const auto tap = tapBefore({key("FS! ", "ui16", {0, 0})});
  const auto smc = QXSMCInterface::init();
  std::vector<std::thread> writers;
  for (int i = 0; i < 4; ++i) {
    writers.emplace_back([&smc] {
      for (int n = 0; n < 50; ++n) {
        EXPECT_EQ(smc->SMCWriteKey("FS! ", 1, 2), 0);
      }
    });
  }
  for (std::thread& writer : writers) {
    writer.join();
  }
  EXPECT_EQ(tap->mostOpen(), 2);  // the shared connection and one private one
}

TEST(SMCReadKey, ReadersOfSeveralThreadsShareARecordWithoutARace) {
  install(machineWith({key("TC0P", "sp78", {0x3A, 0x80})}));
  const auto smc = QXSMCInterface::init();
  std::vector<std::thread> readers;
  for (int i = 0; i < 4; ++i) {
    readers.emplace_back([&smc] {
      for (int n = 0; n < 200; ++n) {
        EXPECT_EQ(smc->SMCReadKey("TC0P")->get("value"), Value(0x3A80));
      }
    });
  }
  for (std::thread& reader : readers) {
    reader.join();
  }
}

}  // namespace
}  // namespace halvarin::test
