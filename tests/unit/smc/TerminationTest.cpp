// What the controller's door does when the host ends.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/NotificationCenter.h"
#include "platform/HostServices.h"
#include "smc/QXSMCInterface.h"
#include "tests/support/Machines.h"

namespace halvarin::test {
namespace {

using testing::ElementsAre;

void postTermination() {
  NotificationCenter::defaultCenter().post(
      {std::string(platform::kApplicationWillTerminate), nullptr, nullptr});
}

TEST(Termination, WithFan1ForcedMakesOneWriteBeforeTheConnectionCloses) {
  const auto installed =
      install(machineWith({key("FNum", "ui8 ", {2}), key("FS! ", "ui16", {0, 2})}));
  const auto smc = QXSMCInterface::init();
  installed.journal->clear();
  postTermination();
  EXPECT_THAT(
      *installed.journal,
      ElementsAre("call 1 read FS!  size 2 -> 0002", "call 1 read FNum size 1 -> 02",
                  "open type 0 -> connection 2", "call 2 write FS!  size 2 bytes 0000 -> done",
                  "close 2 -> done", "close 1 -> done"));
}

TEST(Termination, SeveralForcedFansTakeOneWrite) {
  const auto installed =
      install(machineWith({key("FNum", "ui8 ", {3}), key("FS! ", "ui16", {0, 7})}));
  const auto smc = QXSMCInterface::init();
  postTermination();
  EXPECT_EQ(writeLines(installed.journal).size(), 1U);
}

TEST(Termination, WithoutAForcedFanNothingIsWritten) {
  const auto installed =
      install(machineWith({key("FNum", "ui8 ", {2}), key("FS! ", "ui16", {0, 0})}));
  const auto smc = QXSMCInterface::init();
  postTermination();
  EXPECT_THAT(writeLines(installed.journal), ElementsAre());
  EXPECT_EQ(installed.journal->back(), "close 1 -> done");
}

TEST(Termination, BitsBeyondTheFanCountDoNotCount) {
  const auto installed =
      install(machineWith({key("FNum", "ui8 ", {2}), key("FS! ", "ui16", {0, 4})}));
  const auto smc = QXSMCInterface::init();
  postTermination();
  EXPECT_THAT(writeLines(installed.journal), ElementsAre());
}

TEST(Termination, FanCountOfZeroWritesNothing) {
  const auto installed =
      install(machineWith({key("FNum", "ui8 ", {0}), key("FS! ", "ui16", {0, 1})}));
  const auto smc = QXSMCInterface::init();
  postTermination();
  EXPECT_THAT(writeLines(installed.journal), ElementsAre());
}

TEST(Termination, DeliberateBitsRepeatAfter32Fans) {
  const auto installed =
      install(machineWith({key("FNum", "ui8 ", {40}), key("FS! ", "ui32", {0x80, 0, 0, 0x80})}));
  const auto smc = QXSMCInterface::init();
  postTermination();
  EXPECT_EQ(writeLines(installed.journal).size(), 1U);
}

TEST(Termination, MachineWithoutForceBitsOrFanCountWritesNothing) {
  for (const char* missing : {"FS! ", "FNum"}) {
    std::vector<platform::RecordedKey> keys;
    for (auto each : {key("FNum", "ui8 ", {2}), key("FS! ", "ui16", {0, 3})}) {
      if (each.code != platform::fourBytes(missing)) {
        keys.push_back(each);
      }
    }
    const auto installed = install(machineWith(keys));
    const auto smc = QXSMCInterface::init();
    postTermination();
    EXPECT_THAT(writeLines(installed.journal), ElementsAre()) << missing;
  }
}

TEST(Termination, LaterReadsFailAndKeepTheOldValue) {
  install(machineWith({key("TC0P", "sp78", {0x3A, 0x80})}));
  const auto smc = QXSMCInterface::init();
  smc->SMCReadKey("TC0P");
  smc->close_service();
  const DictionaryRef record = smc->SMCReadKey("TC0P");
  ASSERT_TRUE(record);
  EXPECT_NE(record->get("error").intValue(), 0);
  EXPECT_EQ(record->get("value"), Value(0x3A80));
}

TEST(Termination, SecondPostingDoesNothing) {
  const auto installed =
      install(machineWith({key("FNum", "ui8 ", {2}), key("FS! ", "ui16", {0, 2})}));
  const auto smc = QXSMCInterface::init();
  postTermination();
  installed.journal->clear();
  postTermination();
  EXPECT_THAT(*installed.journal, ElementsAre());
}

TEST(Termination, AnySenderCounts) {
  const auto installed = install(machineWith({}));
  const auto smc = QXSMCInterface::init();
  const int sender = 0;
  NotificationCenter::defaultCenter().post(
      {std::string(platform::kApplicationWillTerminate), &sender, nullptr});
  EXPECT_EQ(installed.journal->back(), "close 1 -> done");
}

TEST(Termination, DestroyedInstanceIsNotCalled) {
  const auto installed = install(machineWith({}));
  QXSMCInterface::init().reset();
  installed.journal->clear();
  postTermination();
  EXPECT_THAT(*installed.journal, ElementsAre());
}

TEST(Termination, ReadingAloneNeverWrites) {
  const auto installed =
      install(machineWith({key("FNum", "ui8 ", {2}), key("FS! ", "ui16", {0, 2})}));
  QXSMCInterface::init()->listKeysWithData();
  EXPECT_THAT(writeLines(installed.journal), ElementsAre());
}

}  // namespace
}  // namespace halvarin::test
